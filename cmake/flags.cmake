# Flags that every target of the project shares.

# Tables are the same bit for bit everywhere: no fused multiply-add, no fast-math.
add_compile_options(-ffp-contract=off)
# Log lines name their source relative to the project.
add_compile_options(-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)
# CI builds with ZEV_WERROR; a stranger's newer compiler may warn of something else and should still build.
add_compile_options(-Wall -Wextra -Wconversion)
if(ZEV_WERROR)
    add_compile_options(-Werror)
endif()

if(ZEV_SANITIZE)
    add_compile_options(-fsanitize=${ZEV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${ZEV_SANITIZE})
endif()

find_program(ZEV_CCACHE ccache)
if(ZEV_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${ZEV_CCACHE})
endif()
