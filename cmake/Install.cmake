# `cmake --install`. Components: `runtime` has the plug-in, the library and the tool with its pages, `development` what
# programs are compiled with. Nothing of it names the prefix, so that it can be moved.
include(CMakePackageConfigHelpers)

if(KSMTH_STATIC)
  install(FILES $<TARGET_FILE:KSmthGrpImpt> DESTINATION ${ksmth_plugin} RENAME libKSmthGrpImpt.so
    PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ COMPONENT runtime)
  set(private_libraries "-lstdc++ -lm")
else()
  # One file under two names is loaded once.
  file(RELATIVE_PATH library ${ksmth_full_plugin} ${CMAKE_INSTALL_FULL_LIBDIR}/libKSmthGrpImpt.so.${PROJECT_VERSION})
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/plugin)
  file(CREATE_LINK ${library} ${PROJECT_BINARY_DIR}/plugin/libKSmthGrpImpt.so SYMBOLIC)
  install(FILES ${PROJECT_BINARY_DIR}/plugin/libKSmthGrpImpt.so DESTINATION ${ksmth_plugin} COMPONENT runtime)
endif()
install(TARGETS ${ksmth_linked} EXPORT KSmthGrpImptTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  FILE_SET HEADERS DESTINATION ${ksmth_include} COMPONENT development)

install(EXPORT KSmthGrpImptTargets NAMESPACE KSmthGrpImpt:: DESTINATION ${ksmth_package} COMPONENT development)
configure_package_config_file(cmake/KSmthGrpImptConfig.cmake.in ${PROJECT_BINARY_DIR}/KSmthGrpImptConfig.cmake
  INSTALL_DESTINATION ${ksmth_package} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KSmthGrpImptConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KSmthGrpImptConfig.cmake ${PROJECT_BINARY_DIR}/KSmthGrpImptConfigVersion.cmake
  DESTINATION ${ksmth_package} COMPONENT development)

set(pkgconfig ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH pc_prefix ${pkgconfig} ${CMAKE_INSTALL_PREFIX})
file(RELATIVE_PATH pc_libdir ${pkgconfig} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH pc_includedir ${pkgconfig} ${CMAKE_INSTALL_FULL_INCLUDEDIR}/KSmthGrpImpt)
file(RELATIVE_PATH pc_plugindir ${pkgconfig} ${ksmth_full_plugin})
list(JOIN public_options " " pc_options)
configure_file(cmake/KSmthGrpImpt.pc.in KSmthGrpImpt.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/KSmthGrpImpt.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

if(TARGET smthgrp)
  install(TARGETS smthgrp DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
  install(DIRECTORY ${PROJECT_BINARY_DIR}/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
  install(FILES tools/smthgrp.bash DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions RENAME smthgrp
    COMPONENT runtime)
endif()
