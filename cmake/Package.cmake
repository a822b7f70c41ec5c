# The Debian packages of `./dev package`: the libraries, what a program is built against them with, and the command.
set( library libquarratcamports${QUARRA_SOVERSION} )
set( development libquarratcamports-dev )
set( tool quarra-tcam )

set( CPACK_GENERATOR DEB )
set( CPACK_COMPONENTS_ALL library development tool )
set( CPACK_DEB_COMPONENT_INSTALL ON )
set( CPACK_COMPONENTS_GROUPING IGNORE )
set( CPACK_PACKAGING_INSTALL_PREFIX /usr )
set( CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
     OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE )
set( CPACK_STRIP_FILES ON )
set( CPACK_PACKAGE_CONTACT "QuarraTcamPorts maintainers <quarra-tcam-ports@localhost>" )
set( CPACK_DEBIAN_FILE_NAME DEB-DEFAULT )
set( CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON )
# What each needs of other packages is read from its files; of each other, told here.
set( CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON )
set( CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY} )
set( CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON )
set( CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=" )

set( CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library} )
set( CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs )
set( CPACK_DEBIAN_LIBRARY_DESCRIPTION "The library that reserves, shares and programs class IDs inside a switch's TCAM
 agent, the platform that it runs on, and a simulated chip." )

file( WRITE ${PROJECT_BINARY_DIR}/generated/triggers "activate-noawait ldconfig\n" )
set( CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/generated/triggers )

set( CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${development} )
set( CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel )
set( CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library} (= ${PROJECT_VERSION}), libsqlite3-dev" )
set( CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "Headers, the reference agent, CMake and pkg-config files to build a TCAM agent
 on the library, with an SDK of its own or on the simulated chip." )

set( CPACK_DEBIAN_TOOL_PACKAGE_NAME ${tool} )
set( CPACK_DEBIAN_TOOL_PACKAGE_SECTION net )
set( CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${library} (>= ${PROJECT_VERSION})" )
set( CPACK_DEBIAN_TOOL_PACKAGE_SUGGESTS bash-completion )
set( CPACK_DEBIAN_TOOL_DESCRIPTION "Applies ACL configurations to a simulated switch chip: shows which rules share a
 class ID, what they take, whether they fit and whether every rule matches
 exactly its ports." )

file( ARCHIVE_CREATE OUTPUT ${PROJECT_BINARY_DIR}/generated/changelog.gz
      PATHS ${PROJECT_SOURCE_DIR}/CHANGELOG.md
      FORMAT raw COMPRESSION GZip )
foreach( component library development tool )
   install( FILES ${PROJECT_BINARY_DIR}/generated/changelog.gz
            DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${${component}} COMPONENT ${component} )
endforeach()

include( CPack )
