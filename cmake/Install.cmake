# What other projects link: the library, the platform and the simulated chip with their headers, a CMake package and a
# pkg-config file; and the command.
include( CMakePackageConfigHelpers )

set_target_properties( QuarraTcamPlatform PROPERTIES EXPORT_NAME Platform )
set_target_properties( QuarraSimulatedChip PROPERTIES EXPORT_NAME SimulatedChip )
install( TARGETS QuarraTcamPlatform QuarraTcamSdkBaseTypes QuarraSimulatedChip EXPORT QuarraTcamPorts )
install( TARGETS quarra-tcam )

set( headers ${CMAKE_INSTALL_INCLUDEDIR}/QuarraTcamPorts )
install( DIRECTORY platform/ DESTINATION ${headers} FILES_MATCHING PATTERN *.h )
install( DIRECTORY QuarraTcamSdkBaseTypes DESTINATION ${headers} FILES_MATCHING PATTERN *.h
         PATTERN QuarraTcamSdkBaseTypes/*/* EXCLUDE )
install( FILES simulator/CallLog.h simulator/ReturnCode.h simulator/SimulatedChip.h DESTINATION ${headers}/simulator )

set( package ${CMAKE_INSTALL_LIBDIR}/cmake/QuarraTcamPorts )
install( EXPORT QuarraTcamPorts NAMESPACE QuarraTcamPorts:: FILE QuarraTcamPortsConfig.cmake DESTINATION ${package} )
write_basic_package_version_file( ${CMAKE_BINARY_DIR}/QuarraTcamPortsConfigVersion.cmake
                                  COMPATIBILITY SameMinorVersion )
install( FILES ${CMAKE_BINARY_DIR}/QuarraTcamPortsConfigVersion.cmake DESTINATION ${package} )

configure_file( cmake/QuarraTcamPorts.pc.in ${CMAKE_BINARY_DIR}/QuarraTcamPorts.pc @ONLY )
install( FILES ${CMAKE_BINARY_DIR}/QuarraTcamPorts.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig )
