add_library(hwy::hwy INTERFACE IMPORTED)
target_include_directories(hwy::hwy SYSTEM INTERFACE ${ZEV_HEADERS})
target_compile_definitions(hwy::hwy INTERFACE HWY_COMPILE_ONLY_STATIC)
