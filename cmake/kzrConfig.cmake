# For programs that record themselves: target_link_libraries(program kzr::recorder).
include(CMakeFindDependencyMacro)
find_dependency(Threads)
include(${CMAKE_CURRENT_LIST_DIR}/kzr_targets.cmake)
