# Where things are once installed, as GNUInstallDirs has them.
include(GNUInstallDirs)
set(ksmth_include ${CMAKE_INSTALL_INCLUDEDIR}/KSmthGrpImpt)
set(ksmth_package ${CMAKE_INSTALL_LIBDIR}/cmake/KSmthGrpImpt)
# A host loads the plug-in from a folder of its own; a link without a number beside the library is for linkers.
set(ksmth_plugin ${CMAKE_INSTALL_LIBDIR}/KSmthGrpImpt)
set(ksmth_full_plugin ${CMAKE_INSTALL_FULL_LIBDIR}/KSmthGrpImpt)
