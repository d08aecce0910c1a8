# Flags of the project's own targets. A project that ZEV is a part of keeps its own.
if(PROJECT_IS_TOP_LEVEL)
    find_program(ZEV_CCACHE ccache)
    if(ZEV_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
        set(CMAKE_CXX_COMPILER_LAUNCHER ${ZEV_CCACHE})
    endif()
endif()

# Every target of the project is given to this function.
function(zev_flags target)
    # Tables are the same bit for bit everywhere: no fused multiply-add, no fast-math.
    target_compile_options(${target} PRIVATE -ffp-contract=off)
    # Log lines name their source relative to the project.
    target_compile_options(${target} PRIVATE -fmacro-prefix-map=${ZEV_SOURCE_DIR}/=)
    # CI builds with ZEV_WERROR; a stranger's newer compiler may warn of something else and should still build.
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wconversion)
    if(ZEV_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    if(ZEV_SANITIZE)
        target_compile_options(${target} PRIVATE
            -fsanitize=${ZEV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
        target_link_options(${target} PRIVATE -fsanitize=${ZEV_SANITIZE})
    endif()
endfunction()
