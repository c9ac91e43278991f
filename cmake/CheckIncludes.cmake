# Finds the includes under SOURCE_ROOT/src that slip past the include roots:
# a quoted path that climbs out of its folder ("../fifths/fifths_wheel.h")
# or starts at the file system's root, and a third-party header named outside
# the one folder that wraps its library. Prints each and fails when any.
# usage: cmake -DSOURCE_ROOT=<tree> -P cmake/CheckIncludes.cmake

#   folder that may include them   headers (regular expression)
set(wrapped_headers
  "core/detection/                 fftw3\\.hh?"
  "core/decoding/                  sndfile\\.hh?|libav[a-z]+/.*|libsw[a-z]+/.*"
  "core/tags/                      taglib/.*"
  "audio/engine/                   RtAudio\\.h|rtaudio/.*|alsa/.*")

file(GLOB_RECURSE files RELATIVE "${SOURCE_ROOT}/src"
  "${SOURCE_ROOT}/src/*.h" "${SOURCE_ROOT}/src/*.cpp")
list(SORT files)
set(found 0)
foreach(file IN LISTS files)
  file(STRINGS "${SOURCE_ROOT}/src/${file}" lines REGEX "^[ \t]*#[ \t]*include")
  foreach(line IN LISTS lines)
    if(line MATCHES "include[ \t]*\"([^\"]*)\"")
      set(header "${CMAKE_MATCH_1}")
      if(header MATCHES "(^|/)\\.\\.?/" OR header MATCHES "^/")
        message("src/${file}: \"${header}\" is a path of its own; name it from an include root")
        math(EXPR found "${found} + 1")
      endif()
    elseif(line MATCHES "include[ \t]*<([^>]*)>")
      set(header "${CMAKE_MATCH_1}")
      foreach(row IN LISTS wrapped_headers)
        string(REGEX MATCH "^[^ ]+" folder "${row}")
        string(REGEX REPLACE "^[^ ]+ +" "" pattern "${row}")
        if(header MATCHES "^(${pattern})$" AND NOT file MATCHES "^${folder}")
          message("src/${file}: <${header}> belongs to src/${folder} alone")
          math(EXPR found "${found} + 1")
        endif()
      endforeach()
    endif()
  endforeach()
endforeach()
if(found)
  message(FATAL_ERROR "${found} includes cross a wall")
endif()
list(LENGTH files count)
message("No include crosses a wall (${count} files)")
