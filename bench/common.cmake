# Shared set-up of the benchmark projects: C++20 and the repository's library
# (tests off), and, on request, the cine fixture builder that makes their test
# recordings (it names its temporary files after the running test, hence
# gtest).
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(XEFILE_BUILD_TESTS OFF CACHE BOOL "" FORCE)
add_subdirectory(${CMAKE_CURRENT_LIST_DIR}/.. xefile EXCLUDE_FROM_ALL)

set(XEFILE_REPO ${CMAKE_CURRENT_LIST_DIR}/..)
function(xefile_bench_fixtures)
  find_package(GTest REQUIRED)
  add_library(xefile_bench_fixtures STATIC ${XEFILE_REPO}/tests/fixtures/cine_builder.cpp)
  target_include_directories(xefile_bench_fixtures PUBLIC ${XEFILE_REPO}/tests)
  target_link_libraries(xefile_bench_fixtures PUBLIC GTest::gtest)
endfunction()
