# Warnings and sanitizers apply to every target of the project.
add_compile_options(-Wall -Wextra -Wpedantic)
if(KEYVANE_WERROR)
    add_compile_options(-Werror)
endif()

if(KEYVANE_SANITIZE)
    set(_keyvane_sanitizers -fsanitize=address,undefined -fno-sanitize-recover=undefined
                            -fno-omit-frame-pointer)
    add_compile_options(${_keyvane_sanitizers})
    add_link_options(${_keyvane_sanitizers})
endif()
