# What `cmake --install` puts where: the module, the host library, headers, program, manuals,
# completions, files for pkg-config and CMake. All of it works from wherever the prefix is moved to.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(KOWEN_MODULE_DIR "${CMAKE_INSTALL_LIBDIR}/kowen")
set(KOWEN_CMAKE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/kowen")

install(TARGETS kowen_module LIBRARY DESTINATION ${KOWEN_MODULE_DIR} COMPONENT module)
install(DIRECTORY include/kowen DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
add_library(kowen_headers INTERFACE)
set_target_properties(kowen_headers PROPERTIES EXPORT_NAME headers)
target_include_directories(kowen_headers INTERFACE
  $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
install(TARGETS kowen_headers EXPORT kowenTargets)

if(KOWEN_BUILD_HOST)
  # From a program or library in its folder to the libraries, wherever the prefix lies.
  file(RELATIVE_PATH libraries_from_programs
    ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(kowenhost PROPERTIES EXPORT_NAME host)
  kowen_library_folders(kowen_host ${libraries_from_programs} .)
  install(TARGETS kowenhost EXPORT kowenTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library
      NAMELINK_COMPONENT development
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(TARGETS kowen_host RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT program)
  install(TARGETS kowen_magick LIBRARY DESTINATION ${KOWEN_MODULE_DIR} COMPONENT program)
  install(TARGETS kowen_check LIBRARY DESTINATION ${KOWEN_MODULE_DIR} COMPONENT development)
  install(DIRECTORY host/include/kowen DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    COMPONENT development)
  install(FILES completions/kowen.bash RENAME kowen COMPONENT program
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  install(FILES completions/_kowen COMPONENT program
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
  install(FILES completions/kowen.fish COMPONENT program
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
endif()

# The date in the manuals: the packager's, or that of the changelog.
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  set(KOWEN_DATE_EPOCH $ENV{SOURCE_DATE_EPOCH})
else()
  file(TIMESTAMP ${CMAKE_SOURCE_DIR}/CHANGELOG.md KOWEN_DATE_EPOCH "%s" UTC)
endif()

# Manuals: scdoc turns each source in docs/man into a page; without it they are left out.
find_program(KOWEN_SCDOC scdoc)
mark_as_advanced(KOWEN_SCDOC)
if(KOWEN_SCDOC)
  set(manuals)
  foreach(page kowen.1 kowen-module.3 kowen-profile.5)
    set(source ${CMAKE_SOURCE_DIR}/docs/man/${page}.scd)
    set(manual ${CMAKE_BINARY_DIR}/man/${page})
    add_custom_command(OUTPUT ${manual} DEPENDS ${source} VERBATIM
      COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/man
      # The date that scdoc prints: of the sources, so that two builds give the same page.
      COMMAND ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=${KOWEN_DATE_EPOCH}
        sh -c "\"$1\" <\"$2\" >\"$3\"" sh ${KOWEN_SCDOC} ${source} ${manual})
    list(APPEND manuals ${manual})
    string(REGEX MATCH "[0-9]$" section ${page})
    if(KOWEN_BUILD_HOST OR NOT section EQUAL 1)
      install(FILES ${manual} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section}
        COMPONENT manual)
    endif()
  endforeach()
  add_custom_target(kowen_manuals ALL DEPENDS ${manuals})
endif()

install(FILES README.md CHANGELOG.md LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT manual)
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs COMPONENT manual
  FILES_MATCHING PATTERN "*.md" PATTERN "*.png" PATTERN "*.svg" PATTERN man EXCLUDE)
install(FILES examples/delegates.mgk examples/delegates.xml examples/kowen.ini
  DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT manual)

# For programs that are built against it.
file(RELATIVE_PATH KOWEN_PREFIX_FROM_PKGCONFIG
  "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" KOWEN_PREFIX_FROM_PKGCONFIG "${KOWEN_PREFIX_FROM_PKGCONFIG}")
function(kowen_pkg_config name)
  configure_file(cmake/${name}.pc.in ${CMAKE_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/${name}.pc COMPONENT development
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()
kowen_pkg_config(kowen)
if(KOWEN_BUILD_HOST)
  kowen_pkg_config(kowen-host)
endif()
configure_package_config_file(cmake/kowenConfig.cmake.in ${CMAKE_BINARY_DIR}/kowenConfig.cmake
  INSTALL_DESTINATION ${KOWEN_CMAKE_DIR} PATH_VARS KOWEN_MODULE_DIR)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/kowenConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(EXPORT kowenTargets NAMESPACE kowen:: DESTINATION ${KOWEN_CMAKE_DIR}
  COMPONENT development)
install(FILES ${CMAKE_BINARY_DIR}/kowenConfig.cmake ${CMAKE_BINARY_DIR}/kowenConfigVersion.cmake
  DESTINATION ${KOWEN_CMAKE_DIR} COMPONENT development)

configure_file(cmake/uninstall.cmake.in ${CMAKE_BINARY_DIR}/uninstall.cmake @ONLY)
add_custom_target(uninstall COMMAND ${CMAKE_COMMAND} -P ${CMAKE_BINARY_DIR}/uninstall.cmake)
