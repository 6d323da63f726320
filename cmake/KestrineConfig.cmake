# Only the simulator's library needs these two: whoever links the client alone can do without.
find_package(Threads QUIET)
find_package(JPEG QUIET)
include(${CMAKE_CURRENT_LIST_DIR}/KestrineTargets.cmake)
