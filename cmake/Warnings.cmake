# Warnings are errors everywhere: a warning today is a bug report tomorrow.
function(tidyfold_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Werror -Wshadow
                                             -Wnon-virtual-dtor -Wold-style-cast -Wcast-align
                                             -Woverloaded-virtual -Wimplicit-fallthrough)
endfunction()
