# What an installation consists of, and the archives that cpack makes of it.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/KorvexOpc)
set(libraries KorvexOpc)
if(TARGET KorvexCom)
  list(APPEND libraries KorvexCom)
endif()

install(TARGETS ${libraries} EXPORT KorvexOpc
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/korvex DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_BINARY_DIR}/src/generated/korvex/export.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/korvex)
install(TARGETS opcda RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES README.md CHANGELOG.md LICENSE NOTICES.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR})

# find_package(KorvexOpc) and pkg-config.
install(EXPORT KorvexOpc FILE KorvexOpcConfig.cmake NAMESPACE KorvexOpc:: DESTINATION ${package_folder})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/KorvexOpcConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
file(RELATIVE_PATH KORVEX_PREFIX_FROM_PC /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/korvex-opc.pc.in ${CMAKE_CURRENT_BINARY_DIR}/korvex-opc.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/KorvexOpcConfigVersion.cmake DESTINATION ${package_folder})
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/korvex-opc.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The simulation server: on Windows beside the tool, to be registered; elsewhere where COM's registry is.
if(WIN32)
  install(TARGETS KorvexSimulation LIBRARY DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(TARGETS KorvexSimulationProgram RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  if(TARGET KorvexOpcProxy)
    install(TARGETS KorvexOpcProxy LIBRARY DESTINATION ${CMAKE_INSTALL_BINDIR})
  endif()
  install(FILES ${KORVEX_RUNTIME_LIBRARIES} DESTINATION ${CMAKE_INSTALL_BINDIR})
else()
  install(TARGETS KorvexSimulation LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/korvex-opc)
  set_target_properties(KorvexSimulation PROPERTIES INSTALL_RPATH "$ORIGIN/..:$ORIGIN")
  set_target_properties(opcda KorvexOpc PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}:$ORIGIN")
  set(KORVEX_SIMULATION_MODULE ../../../${CMAKE_INSTALL_LIBDIR}/korvex-opc/libKorvexSimulation.so)
  configure_file(sim/module/KorvexSimulation.server.in ${CMAKE_CURRENT_BINARY_DIR}/KorvexSimulation.server @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/KorvexSimulation.server
          DESTINATION ${CMAKE_INSTALL_DATADIR}/korvex-opc/servers)
endif()

set(CPACK_PACKAGE_NAME korvex-opc)
set(CPACK_PACKAGE_VENDOR "Korvex")
set(CPACK_PACKAGE_CONTACT "Korvex OPC developers <opc@korvex.invalid>")
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME korvex-opc-${PROJECT_VERSION}-windows-${CMAKE_SYSTEM_PROCESSOR})
else()
  set(CPACK_GENERATOR "TGZ;DEB")
  set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
endif()
include(CPack)
