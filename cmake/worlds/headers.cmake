# For CMAKE_PROJECT_TOP_LEVEL_INCLUDES: what is needed as headers alone, for compilers that the distribution
# has no libraries for. They are linked into a folder of their own, without those of this machine's C library
# beside them.
set(ZEV_HEADERS ${CMAKE_SOURCE_DIR}/build/worlds/headers)
file(MAKE_DIRECTORY ${ZEV_HEADERS})
foreach(name IN ITEMS boost hwy nlohmann spdlog fmt fast_float)
    file(CREATE_LINK /usr/include/${name} ${ZEV_HEADERS}/${name} SYMBOLIC)
endforeach()
set(Boost_INCLUDE_DIR ${ZEV_HEADERS})
foreach(name IN ITEMS hwy spdlog fmt nlohmann_json GTest)
    set(${name}_DIR ${CMAKE_CURRENT_LIST_DIR})
endforeach()
