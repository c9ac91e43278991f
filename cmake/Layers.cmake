# The layers: which of our targets each target uses directly. Everything a
# target may include follows from this table (the targets it uses, and theirs
# in turn); the links written in each folder's CMakeLists.txt must say the
# same, or configuring stops. "Qt" stands for Qt's own libraries.
#
#   target                     header that stands for it (- for a program)  uses
set(quorlen_layers
  "quorlen_core               text/number_format.h"
  "quorlen_audio_engine       audio/engine/spsc_ring.h        quorlen_core"
  "quorlen_cli                cli/json_writer.h               quorlen_core quorlen_audio_engine"
  "quorlen_config             config/deployment.h"
  "quorlen_ui                 ui/theme.h                      Qt"
  "quorlen_audio              audio/chord_player.h            quorlen_audio_engine quorlen_core Qt"
  "quorlen_stats              stats/stats.h                   quorlen_config Qt"
  "quorlen_state              state/calculator_state.h        Qt"
  "quorlen_tempo_detection    tempo_detection/tempo_detect_model.h
                              quorlen_ui quorlen_state quorlen_audio quorlen_core Qt"
  "quorlen_tools_common       tools/common/tool_screen.h      quorlen_ui quorlen_core"
  "quorlen_tool_tempo         tools/tempo/tempo_view.h
                              quorlen_tools_common quorlen_state quorlen_ui quorlen_core
                              quorlen_tempo_detection"
  "quorlen_tool_euclidean     tools/euclidean/euclidean_rhythm_view.h
                              quorlen_tools_common quorlen_state quorlen_ui quorlen_core quorlen_audio"
  "quorlen_tool_reverb_delay  tools/reverb_delay/reverb_delay_view.h
                              quorlen_tools_common quorlen_state quorlen_ui quorlen_core"
  "quorlen_tool_note_frequencies tools/note_frequencies/note_frequency_view.h
                              quorlen_tools_common quorlen_state quorlen_ui quorlen_core"
  "quorlen_tool_temperament   tools/temperament/temperament_view.h
                              quorlen_tools_common quorlen_state quorlen_ui quorlen_core quorlen_audio"
  "quorlen_tool_harmonics     tools/harmonics/harmonic_series_view.h
                              quorlen_tools_common quorlen_state quorlen_ui quorlen_core quorlen_audio"
  "quorlen_tool_fifths        tools/fifths/circle_of_fifths_view.h
                              quorlen_tools_common quorlen_state quorlen_ui quorlen_core quorlen_audio"
  "quorlen_app                app/main_window.h
                              quorlen_tool_tempo quorlen_tool_euclidean quorlen_tool_reverb_delay
                              quorlen_tool_note_frequencies quorlen_tool_temperament
                              quorlen_tool_harmonics quorlen_tool_fifths quorlen_tempo_detection
                              quorlen_state quorlen_stats quorlen_audio quorlen_ui quorlen_config
                              quorlen_core Qt"
  "quorlen                    -                               quorlen_cli"
  "quorlen-calculator         -                               quorlen_app Qt")
set(quorlen_layer_qt_header "QtCore/QString")

# Third-party libraries are wrapped by one target each: only that target
# reaches their headers. For every other target a folder of stand-ins that
# stop the compiler comes first on the include path.
#   wrapper               header probed          stand-ins (headers, or folders of them)
set(quorlen_wrapped_headers
  "quorlen_core           fftw3.h                fftw3.h fftw3.hh"
  "quorlen_core           sndfile.h              sndfile.h sndfile.hh"
  "quorlen_core           libavformat/avformat.h libavformat libavcodec libavutil libswresample"
  "quorlen_core           taglib/tag.h           taglib"
  "quorlen_audio_engine   RtAudio.h              RtAudio.h rtaudio"
  "quorlen_audio_engine   alsa/asoundlib.h       alsa")

# Splits a row of a table above into its words.
macro(quorlen_layer_row row out_name out_rest)
  string(REGEX REPLACE "[ \n]+" ";" words "${row}")
  list(POP_FRONT words ${out_name})
  set(${out_rest} ${words})
endmacro()

# Everything a target may use: the table's uses, followed down.
function(quorlen_layer_closure target out)
  set(result "")
  set(pending ${target})
  while(pending)
    list(POP_FRONT pending current)
    foreach(row IN LISTS quorlen_layers)
      quorlen_layer_row("${row}" name rest)
      if(name STREQUAL current)
        list(POP_FRONT rest header)
        foreach(used IN LISTS rest)
          if(NOT used IN_LIST result)
            list(APPEND result ${used})
            list(APPEND pending ${used})
          endif()
        endforeach()
      endif()
    endforeach()
  endwhile()
  set(${out} ${result} PARENT_SCOPE)
endfunction()

# The links of a target, reduced to our targets and "Qt".
function(quorlen_layer_links target out)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "INTERFACE_LIBRARY")
    get_target_property(links ${target} INTERFACE_LINK_LIBRARIES)
  else()
    get_target_property(links ${target} LINK_LIBRARIES)
  endif()
  set(result "")
  foreach(link IN LISTS links)
    if(link MATCHES "^quorlen_")
      list(APPEND result ${link})
    elseif(link MATCHES "^Qt6::" AND NOT "Qt" IN_LIST result)
      list(APPEND result Qt)
    endif()
  endforeach()
  set(${out} ${result} PARENT_SCOPE)
endfunction()

# Finds the folder that holds a third-party header, for its stand-ins.
function(quorlen_system_header_dir header out)
  foreach(dir /usr/include /usr/include/${CMAKE_LIBRARY_ARCHITECTURE} /usr/local/include)
    if(EXISTS "${dir}/${header}")
      set(${out} "${dir}" PARENT_SCOPE)
      return()
    endif()
  endforeach()
  set(${out} "" PARENT_SCOPE)
endfunction()

# Checks the links against the table, puts the stand-ins of other targets'
# libraries in front of each target, and adds to each target a source that
# only preprocesses: it stops the build when the target sees a header of a
# target it may not use, or fails to see one it may, or reaches a library it
# does not wrap (the stand-in must answer), or misses one it does.
function(quorlen_layer_walls)
  set(walls "${PROJECT_BINARY_DIR}/walls")
  # One folder of stand-ins per wrapper: every header of its libraries.
  foreach(row IN LISTS quorlen_wrapped_headers)
    quorlen_layer_row("${row}" wrapper headers)
    list(POP_FRONT headers probed)
    set(standins "${walls}/standins/${wrapper}")
    foreach(header IN LISTS headers)
      quorlen_system_header_dir(${header} dir)
      if(dir AND IS_DIRECTORY "${dir}/${header}")
        file(GLOB_RECURSE files RELATIVE "${dir}" "${dir}/${header}/*.h")
      else()
        set(files ${header})
      endif()
      foreach(file IN LISTS files)
        file(CONFIGURE OUTPUT "${standins}/${file}" CONTENT
"#define QUORLEN_STANDIN_REACHED 1
#ifndef QUORLEN_WALL_PROBE
#error \"<${file}> belongs to ${wrapper} alone\"
#endif
")
      endforeach()
    endforeach()
  endforeach()

  foreach(row IN LISTS quorlen_layers)
    quorlen_layer_row("${row}" target rest)
    list(POP_FRONT rest own_header)
    quorlen_layer_links(${target} links)
    list(SORT links)
    set(table_uses ${rest})
    list(SORT table_uses)
    if(NOT "${links}" STREQUAL "${table_uses}")
      message(FATAL_ERROR "${target} links \"${links}\" but cmake/Layers.cmake says \"${table_uses}\"")
    endif()
    quorlen_layer_closure(${target} allowed)

    set(probe "// Generated from cmake/Layers.cmake: the walls of ${target}.\n#define QUORLEN_WALL_PROBE 1\n")
    foreach(other IN LISTS quorlen_layers)
      quorlen_layer_row("${other}" other_name other_rest)
      list(POP_FRONT other_rest other_header)
      if(other_header STREQUAL "-")
        continue()
      elseif(other_name STREQUAL target OR other_name IN_LIST allowed)
        string(APPEND probe "#if !__has_include(\"${other_header}\")\n#error \"${target} must see ${other_header} of ${other_name}\"\n#endif\n")
      else()
        string(APPEND probe "#if __has_include(\"${other_header}\")\n#error \"${target} must not see ${other_header} of ${other_name}\"\n#endif\n")
      endif()
    endforeach()
    if("Qt" IN_LIST allowed)
      string(APPEND probe "#if !__has_include(<${quorlen_layer_qt_header}>)\n#error \"${target} must see Qt\"\n#endif\n")
    else()
      string(APPEND probe "#if __has_include(<${quorlen_layer_qt_header}>)\n#error \"${target} must not see Qt\"\n#endif\n")
    endif()

    get_target_property(type ${target} TYPE)
    set(compiled ${target})
    if(type STREQUAL "INTERFACE_LIBRARY")
      # Headers only: a probe of its own stands in for its sources.
      set(compiled ${target}_walls)
    endif()
    set(wrappers "")
    foreach(wrapped IN LISTS quorlen_wrapped_headers)
      quorlen_layer_row("${wrapped}" wrapper headers)
      list(POP_FRONT headers probed)
      string(APPEND probe "#undef QUORLEN_STANDIN_REACHED\n#include <${probed}>\n")
      if(wrapper STREQUAL target)
        string(APPEND probe "#ifdef QUORLEN_STANDIN_REACHED\n#error \"${target} must reach the real <${probed}>\"\n#endif\n")
      else()
        list(APPEND wrappers ${wrapper})
        string(APPEND probe "#ifndef QUORLEN_STANDIN_REACHED\n#error \"${target} must not reach <${probed}>\"\n#endif\n")
      endif()
    endforeach()

    set(probe_file "${walls}/${target}_walls.cpp")
    file(CONFIGURE OUTPUT "${probe_file}" CONTENT "${probe}")
    if(type STREQUAL "INTERFACE_LIBRARY")
      add_library(${compiled} OBJECT "${probe_file}")
      target_link_libraries(${compiled} PRIVATE ${target})
    else()
      target_sources(${target} PRIVATE "${probe_file}")
    endif()
    list(REMOVE_DUPLICATES wrappers)
    foreach(wrapper IN LISTS wrappers)
      target_include_directories(${compiled} BEFORE PRIVATE "${walls}/standins/${wrapper}")
    endforeach()
  endforeach()
endfunction()
