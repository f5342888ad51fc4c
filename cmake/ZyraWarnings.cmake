# The warning set every zyra target builds with; -Werror when ZYRA_WERROR is on.
function(zyra_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
    $<$<BOOL:${ZYRA_WERROR}>:-Werror>)
endfunction()
