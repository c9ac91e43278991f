# The walls between targets: each probe includes a header its target must not
# see, and passes only when the compiler stops at that very header. The
# probes are built on demand by their tests, never by the default build.
function(quorlen_wall_test name)
  cmake_parse_arguments(ARG "" "TARGET;INCLUDE" "" ${ARGN})
  set(probe "${CMAKE_CURRENT_BINARY_DIR}/walls/${name}.cpp")
  file(WRITE "${probe}" "#include <${ARG_INCLUDE}>\n")
  add_library(${name}_probe OBJECT EXCLUDE_FROM_ALL "${probe}")
  target_link_libraries(${name}_probe PRIVATE ${ARG_TARGET})
  add_test(NAME ${name}
    COMMAND ${CMAKE_COMMAND} --build "${CMAKE_BINARY_DIR}" --target ${name}_probe)
  string(REPLACE "." "\\." header_pattern "${ARG_INCLUDE}")
  # Two builds at once in one build folder would trip over each other.
  set_tests_properties(${name} PROPERTIES
    PASS_REGULAR_EXPRESSION "${header_pattern}: No such file or directory"
    RESOURCE_LOCK build_folder)
endfunction()

# The core, the sound engine and the command line are pure C++.
quorlen_wall_test(core_rejects_qt TARGET quorlen_core INCLUDE QtCore/QString)
quorlen_wall_test(cli_rejects_qt TARGET quorlen_cli INCLUDE QtCore/QString)
quorlen_wall_test(audio_engine_rejects_qt TARGET quorlen_audio_engine INCLUDE QtCore/QString)
# Lower Qt targets do not see the ones above them.
quorlen_wall_test(ui_rejects_state TARGET quorlen_ui INCLUDE state/calculator_state.h)
quorlen_wall_test(state_rejects_ui TARGET quorlen_state INCLUDE ui/theme.h)
quorlen_wall_test(stats_rejects_app TARGET quorlen_stats INCLUDE app/main_window.h)
quorlen_wall_test(tempo_detection_rejects_tools
  TARGET quorlen_tempo_detection INCLUDE tools/tempo/tempo_view.h)
# A tool sees neither another tool nor the shell that hosts it.
quorlen_wall_test(tools_reject_other_tools
  TARGET quorlen_tool_fifths INCLUDE tools/tempo/tempo_view.h)
quorlen_wall_test(tools_reject_app TARGET quorlen_tool_tempo INCLUDE app/content_view.h)
