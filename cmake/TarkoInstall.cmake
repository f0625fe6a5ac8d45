# `cmake --install` puts libtarko, its headers and a package config so that a
# host project can say find_package(Tarko) and link Tarko::tarko.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS tarko EXPORT TarkoTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

# Every header of every module: the public ones include internal ones.
foreach(dir IN LISTS TARKO_MODULE_DIRS)
  if(EXISTS ${PROJECT_SOURCE_DIR}/${dir})
    install(DIRECTORY ${dir} DESTINATION include/tarko FILES_MATCHING PATTERN "*.h")
  endif()
endforeach()
install(FILES ${CMAKE_BINARY_DIR}/include/tarko/tarko.h DESTINATION include/tarko)

install(EXPORT TarkoTargets NAMESPACE Tarko:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Tarko)
configure_package_config_file(cmake/TarkoConfig.cmake.in
  ${CMAKE_BINARY_DIR}/TarkoConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Tarko)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/TarkoConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/TarkoConfig.cmake ${CMAKE_BINARY_DIR}/TarkoConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Tarko)

# The model tool goes with the library.
add_subdirectory(${PROJECT_SOURCE_DIR}/tools/tarko-view ${CMAKE_BINARY_DIR}/tools/tarko-view)
install(TARGETS tarko-view RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
