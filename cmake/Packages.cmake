# `cpack -G DEB`: a Debian package for each component that the build has.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ksmthgrp)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_CONTACT "KSmthGrpImpt maintainers <maintainers@users.noreply.c-seed-c3269115.example>"
  CACHE STRING "Who maintains the packages, as Name <address>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
  WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# package COMPONENT NAME SECTION DESCRIPTION
macro(package component name section description)
  string(TOUPPER ${component} key)
  set(package ${name})
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section})
  set(CPACK_COMPONENT_${key}_DESCRIPTION "${description}")
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  set(papers ${PROJECT_BINARY_DIR}/debian/${name})
  configure_file(cmake/debian/changelog.in ${papers}/changelog.Debian @ONLY)
  execute_process(COMMAND gzip -9nf ${papers}/changelog.Debian COMMAND_ERROR_IS_FATAL ANY)
  install(FILES cmake/debian/copyright ${papers}/changelog.Debian.gz DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${name}
    COMPONENT ${component} EXCLUDE_FROM_ALL)
endmacro()

set(exact "ksmthgrp (= ${PROJECT_VERSION}-1)")
if(TARGET smthgrp)
  package(runtime ksmthgrp graphics
    "The plug-in for sculpting hosts, the library that it is, and the tool smthgrp:\nit lists, checks, mends, splits, merges and compares Wavefront OBJ models\nby their groups and smoothing groups, and looks into Photoshop documents.")
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS bash-completion)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
  package(development ksmthgrp-dev libdevel
    "What programs that use the library are compiled with: headers, a CMake package\nand a file for pkg-config.")
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${exact}")
endif()
if(TARGET _ksmthgrp)
  package(python python3-ksmthgrp python
    "The Python module ksmthgrp: Wavefront OBJ documents as arrays of numpy, with\ntheir groups and smoothing groups, and Photoshop documents.")
  math(EXPR next "${Python_VERSION_MINOR} + 1")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
    "${exact}, python3-numpy, python3 (>= 3.${Python_VERSION_MINOR}), python3 (<< 3.${next})")
endif()
if(TARGET addon AND TARGET smthgrp)
  package(blender blender-ksmthgrp graphics
    "The add-on for Blender that reads and writes Wavefront OBJ models with their\ngroups and smoothing groups.")
  set(CPACK_DEBIAN_BLENDER_PACKAGE_ARCHITECTURE all)
  set(CPACK_DEBIAN_BLENDER_PACKAGE_DEPENDS "blender, python3-ksmthgrp (>= ${PROJECT_VERSION})")
endif()
if(CPACK_COMPONENTS_ALL)
  include(CPack)
endif()
