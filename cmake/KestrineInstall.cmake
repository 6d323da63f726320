# What an application needs: both libraries, the headers, the tools, and the descriptions that find_package() and
# pkg-config read.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

target_compile_features(kestrine_host INTERFACE cxx_std_20)
target_include_directories(kestrine_host INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
set_target_properties(kestrine_host PROPERTIES EXPORT_NAME host)

install(TARGETS kestrine kestrine_host EXPORT KestrineTargets)
install(TARGETS kestrine-cli kestrine-simulator)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/kestrine ${PROJECT_BINARY_DIR}/generated/include/kestrine
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Kestrine)
install(EXPORT KestrineTargets NAMESPACE Kestrine:: FILE KestrineConfig.cmake DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KestrineConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KestrineConfigVersion.cmake DESTINATION ${package_dir})
file(RELATIVE_PATH prefix_from_pkgconfig /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${CMAKE_CURRENT_LIST_DIR}/kestrine.pc.in ${PROJECT_BINARY_DIR}/kestrine.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kestrine.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
