# What `cmake --install` puts in place, the way a C library is installed:
#
#   ${CMAKE_INSTALL_LIBDIR}/           libks_imp.so*, libks_eng5.so* (SONAME links)
#   ${CMAKE_INSTALL_INCLUDEDIR}/       ks_imp.h, ks_eng5.h
#   ${CMAKE_INSTALL_BINDIR}/           ksimp
#   ${CMAKE_INSTALL_LIBDIR}/pkgconfig/ ks_imp.pc, ks_eng5.pc
#   ${CMAKE_INSTALL_LIBDIR}/cmake/KsImp/
#                                      find_package(KsImp): KsImp::ks_imp and
#                                      KsImp::ks_eng5
#
# The static layer libraries live inside the shared ones and are not
# installed, nor are the tests, benchmarks and fuzz targets.
include(CMakePackageConfigHelpers)

set(KS_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/KsImp)

# An installed tree finds its own libraries wherever it was installed: ksimp
# looks in the library folder beside its bin/ folder and libks_imp.so finds
# libks_eng5.so next to itself, so a private prefix needs no
# LD_LIBRARY_PATH.  A packager who wants no RPATH configures with
# -DCMAKE_INSTALL_RPATH= (empty), which this leaves alone.
if(NOT DEFINED CMAKE_INSTALL_RPATH)
  file(RELATIVE_PATH ks_bin_to_lib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(ksimp PROPERTIES INSTALL_RPATH "$ORIGIN/${ks_bin_to_lib}")
  set_target_properties(ks_imp PROPERTIES INSTALL_RPATH "$ORIGIN")
endif()

# Both libraries link their static layers PRIVATE between -Wl,--whole-archive
# and -Wl,--no-whole-archive.  A shared library's private link items belong to
# its own link line only, never to its link interface, so the exported
# targets do not mention the layers and the export set needs neither them nor
# a $<BUILD_INTERFACE:...> around them.  (A static library would be
# different: its private items are exported as $<LINK_ONLY:...> and would
# have to be installed too.)  KsImp::ks_imp's interface is KsImp::ks_eng5,
# which is in the same export set.
install(TARGETS ks_imp ks_eng5 EXPORT KsImpTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS ksimp RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/ks_imp.h ${PROJECT_SOURCE_DIR}/include/ks_eng5.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

# The CMake package.  The imported targets carry the include folder and
# KsImp::ks_imp links KsImp::ks_eng5; what the libraries themselves link
# (SQLite, libsodium, fmt) is private to them, so the package finds nothing
# else.
install(EXPORT KsImpTargets NAMESPACE KsImp:: DESTINATION ${KS_PACKAGE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/KsImpConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/KsImpConfig.cmake
                              INSTALL_DESTINATION ${KS_PACKAGE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KsImpConfigVersion.cmake
                                 VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KsImpConfig.cmake ${PROJECT_BINARY_DIR}/KsImpConfigVersion.cmake
        DESTINATION ${KS_PACKAGE_DIR})

# The pkg-config files are written when installing, not when configuring:
# they must name the prefix really installed to, and `cmake --install
# --prefix P` changes it after configuration.  The folders relative to the
# prefix are written as ${prefix}/..., as pkg-config files usually are.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(ks_pc_libdir "${CMAKE_INSTALL_LIBDIR}")
  set(ks_pc_dir "\$ENV{DESTDIR}${CMAKE_INSTALL_LIBDIR}/pkgconfig")
else()
  set(ks_pc_libdir "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
  set(ks_pc_dir "\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig")
endif()
if(IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  set(ks_pc_includedir "${CMAKE_INSTALL_INCLUDEDIR}")
else()
  set(ks_pc_includedir "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
# Bracket arguments keep the literal ${prefix} away from the install
# script's own variable expansion.
install(CODE "
  set(KS_PC_PREFIX \"\${CMAKE_INSTALL_PREFIX}\")
  set(KS_PC_LIBDIR [==[${ks_pc_libdir}]==])
  set(KS_PC_INCLUDEDIR [==[${ks_pc_includedir}]==])
  set(PROJECT_VERSION [==[${PROJECT_VERSION}]==])
  set(ks_pc_templates [==[${PROJECT_SOURCE_DIR}/cmake]==])
  foreach(ks_pc ks_imp ks_eng5)
    set(ks_pc_file \"${ks_pc_dir}/\${ks_pc}.pc\")
    message(STATUS \"Installing: \${ks_pc_file}\")
    configure_file(\"\${ks_pc_templates}/\${ks_pc}.pc.in\" \"\${ks_pc_file}\" @ONLY)
    list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${ks_pc_file}\")
  endforeach()
")
