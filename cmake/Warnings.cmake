# Every target of ours gets the same warnings; CI turns them into errors.
function(quorlen_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic
    $<$<BOOL:${QUORLEN_WERROR}>:-Werror>)
endfunction()
