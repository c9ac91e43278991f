# Renders each tool in light and dark and checks that a full-size PNG came out.
file(REMOVE_RECURSE "${OUT}")
file(MAKE_DIRECTORY "${OUT}")
foreach(tool bpm rhythm space frequency temperament overtones harmony)
  foreach(scheme light dark)
    set(png "${OUT}/${tool}-${scheme}.png")
    execute_process(
      COMMAND "${APP}" --screenshot "${png}" --tool ${tool} --scheme ${scheme} --size 960x720
      RESULT_VARIABLE status ERROR_VARIABLE errors)
    if(NOT status EQUAL 0)
      message(FATAL_ERROR "${tool} ${scheme}: exit ${status}: ${errors}")
    endif()
    file(READ "${png}" header LIMIT 24 HEX)
    # PNG signature, then the IHDR width and height: 960 x 720.
    if(NOT header MATCHES "^89504e470d0a1a0a0000000d49484452000003c0000002d0$")
      message(FATAL_ERROR "${tool} ${scheme}: not a 960x720 PNG (${header})")
    endif()
  endforeach()
endforeach()

# A bad argument is refused before any window system is needed.
set(ENV{QT_QPA_PLATFORM} "")
unset(ENV{DISPLAY})
execute_process(COMMAND "${APP}" --no-such-option RESULT_VARIABLE status ERROR_VARIABLE errors)
if(NOT status EQUAL 2 OR NOT errors MATCHES "unknown option '--no-such-option'")
  message(FATAL_ERROR "a bad argument gave exit ${status}: ${errors}")
endif()
