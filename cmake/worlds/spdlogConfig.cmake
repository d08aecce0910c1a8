find_package(fmt CONFIG REQUIRED)
add_library(spdlog::spdlog INTERFACE IMPORTED)
target_compile_definitions(spdlog::spdlog INTERFACE SPDLOG_HEADER_ONLY SPDLOG_FMT_EXTERNAL)
target_link_libraries(spdlog::spdlog INTERFACE fmt::fmt)
