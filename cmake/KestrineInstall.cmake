# What an application needs: the libraries, the headers, the programs, and the descriptions that find_package() and
# pkg-config read. Where this folder is added to another project, the same names give the same.
include(CMakePackageConfigHelpers)

foreach(target kestrine kestrine_host kestrine_simulator)
  string(REPLACE kestrine_ "" name ${target})
  add_library(Kestrine::${name} ALIAS ${target})
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
  target_compile_features(${target} INTERFACE cxx_std_20)
  target_include_directories(${target} INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/generated/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  install(TARGETS ${target} EXPORT KestrineTargets)
endforeach()
if(KESTRINE_PROGRAMS)
  install(TARGETS kestrine-cli kestrine-simulator)
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/kestrine ${PROJECT_BINARY_DIR}/generated/include/kestrine
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

# Everything finds the libraries from where it lies itself, so that it runs below any prefix.
function(find_libraries_from folder target)
  file(RELATIVE_PATH way /${folder} /${CMAKE_INSTALL_LIBDIR})
  set_target_properties(${target} PROPERTIES INSTALL_RPATH $ORIGIN/${way})
endfunction()
find_libraries_from(${CMAKE_INSTALL_LIBDIR} kestrine)
if(KESTRINE_PROGRAMS)
  find_libraries_from(${CMAKE_INSTALL_BINDIR} kestrine-cli)
endif()
if(KESTRINE_PYTHON)
  find_libraries_from(${KESTRINE_PYTHON_DIR} _kestrine)
endif()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Kestrine)
install(EXPORT KestrineTargets NAMESPACE Kestrine:: DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KestrineConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_LIST_DIR}/KestrineConfig.cmake ${PROJECT_BINARY_DIR}/KestrineConfigVersion.cmake
  DESTINATION ${package_dir})
file(RELATIVE_PATH prefix_from_pkgconfig /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${CMAKE_CURRENT_LIST_DIR}/kestrine.pc.in ${PROJECT_BINARY_DIR}/kestrine.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kestrine.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
