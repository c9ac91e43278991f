# The walls between targets are built with every target (cmake/Layers.cmake):
# a target that sees a header or a library it may not use does not compile.
# What the include roots cannot stop, a path of its own ("../fifths/...") or
# a third-party header named outside the folder that wraps it, is found by
# this scan over src/.
add_test(NAME walls_includes
  COMMAND ${CMAKE_COMMAND} -DSOURCE_ROOT=${PROJECT_SOURCE_DIR}
          -P ${PROJECT_SOURCE_DIR}/cmake/CheckIncludes.cmake)
# The scan's own control: a tree with nine leaks among allowed includes.
add_test(NAME walls_includes_finds_leaks
  COMMAND ${CMAKE_COMMAND} -DSOURCE_ROOT=${CMAKE_CURRENT_SOURCE_DIR}/walls/leaky
          -P ${PROJECT_SOURCE_DIR}/cmake/CheckIncludes.cmake)
set_tests_properties(walls_includes_finds_leaks PROPERTIES
  PASS_REGULAR_EXPRESSION "\n *9 includes cross a wall")
