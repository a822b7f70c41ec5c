# What other projects link: the library with its platform, the reference agent and the simulated chip, each with headers, a
# part of the CMake package and a pkg-config file; and the command. The components are those of the Debian packages.
include( CMakePackageConfigHelpers )

set( headers ${CMAKE_INSTALL_INCLUDEDIR}/QuarraTcamPorts )
set( package ${CMAKE_INSTALL_LIBDIR}/cmake/QuarraTcamPorts )
set( generated ${PROJECT_BINARY_DIR}/generated )

# A pkg-config file says where it lies itself, so that the prefix may be moved; a folder may also be outside the prefix.
set( pkgConfigDir ${CMAKE_INSTALL_LIBDIR}/pkgconfig )
foreach( folder INCLUDEDIR LIBDIR )
   set( QUARRA_PC_${folder} \${prefix}/${CMAKE_INSTALL_${folder}} )
   if( IS_ABSOLUTE "${CMAKE_INSTALL_${folder}}" )
      set( QUARRA_PC_${folder} ${CMAKE_INSTALL_${folder}} )
   endif()
endforeach()
set( QUARRA_PC_PREFIX ${CMAKE_INSTALL_PREFIX} )
if( NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" )
   file( RELATIVE_PATH up /${pkgConfigDir} / )
   set( QUARRA_PC_PREFIX \${pcfiledir}/${up} )
endif()

# quarra_install( NAME TARGETS ...): the targets and NAME.pc. A package file of its own tells CMake of them.
function( quarra_install name )
   cmake_parse_arguments( PARSE_ARGV 1 arg "" "" TARGETS )
   install( TARGETS ${arg_TARGETS} EXPORT ${name}
      LIBRARY COMPONENT library NAMELINK_COMPONENT development
      ARCHIVE COMPONENT development )
   install( EXPORT ${name} NAMESPACE QuarraTcamPorts:: FILE ${name}Targets.cmake
            DESTINATION ${package} COMPONENT development )
   configure_file( cmake/${name}.pc.in ${generated}/${name}.pc @ONLY )
   install( FILES ${generated}/${name}.pc DESTINATION ${pkgConfigDir} COMPONENT development )
endfunction()

function( quarra_install_headers folder destination )
   install( DIRECTORY ${folder} DESTINATION ${headers}/${destination} COMPONENT development
            FILES_MATCHING PATTERN *.h ${ARGN} )
endfunction()

set_target_properties( QuarraTcamPlatform PROPERTIES EXPORT_NAME Platform )
quarra_install( QuarraTcamPorts TARGETS QuarraTcamPlatform QuarraTcamSdkBaseTypes )
quarra_install_headers( "${QUARRA_PLATFORM_DIR}/" "" )
quarra_install_headers( QuarraTcamSdkBaseTypes "" REGEX "QuarraTcamSdkBaseTypes/[A-Za-z]+$" EXCLUDE ) # no folders
quarra_install_headers( ${generated}/QuarraTcamSdkBaseTypes "" )

if( TARGET QuarraTcamAgent )
   set_target_properties( QuarraTcamAgent PROPERTIES EXPORT_NAME Agent )
   quarra_install( QuarraTcamPortsAgent TARGETS QuarraTcamAgent )
   quarra_install_headers( agent "" )
endif()

if( TARGET QuarraSimulatedChip )
   set_target_properties( QuarraSimulatedChip PROPERTIES EXPORT_NAME SimulatedChip )
   quarra_install( QuarraTcamPortsSimulatedChip TARGETS QuarraSimulatedChip )
   install( FILES simulator/CallLog.h simulator/Export.h simulator/ReturnCode.h simulator/SimulatedChip.h
            DESTINATION ${headers}/simulator COMPONENT development )
endif()

configure_file( cmake/QuarraTcamPortsConfig.cmake.in ${generated}/QuarraTcamPortsConfig.cmake @ONLY )
write_basic_package_version_file( ${generated}/QuarraTcamPortsConfigVersion.cmake
                                  COMPATIBILITY ${QUARRA_COMPATIBILITY} )
install( FILES ${generated}/QuarraTcamPortsConfig.cmake ${generated}/QuarraTcamPortsConfigVersion.cmake
         DESTINATION ${package} COMPONENT development )

if( QUARRA_TOOL )
   install( TARGETS quarra-tcam COMPONENT tool )
   # The manual pages are made from what the command says of itself.
   find_program( HELP2MAN help2man )
   if( HELP2MAN AND NOT CMAKE_CROSSCOMPILING )
      set( maker ${PROJECT_SOURCE_DIR}/packaging/manPages.sh )
      add_custom_command( OUTPUT ${generated}/man/quarra-tcam.1.gz
         COMMAND ${maker} $<TARGET_FILE:quarra-tcam> ${PROJECT_VERSION} ${generated}/man
         DEPENDS quarra-tcam ${maker} ${PROJECT_SOURCE_DIR}/packaging/manual.txt
         VERBATIM )
      add_custom_target( manual ALL DEPENDS ${generated}/man/quarra-tcam.1.gz )
      install( DIRECTORY ${generated}/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool OPTIONAL )
   endif()
   install( FILES packaging/quarra-tcam.bash RENAME quarra-tcam
            DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tool )
endif()
