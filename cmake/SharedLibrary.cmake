# Compatible are the releases of one minor version while the major version is 0, later those of one major version: the
# soname and the CMake package say the same.
if( PROJECT_VERSION_MAJOR EQUAL 0 )
   set( QUARRA_SOVERSION 0.${PROJECT_VERSION_MINOR} )
   set( QUARRA_COMPATIBILITY SameMinorVersion )
else()
   set( QUARRA_SOVERSION ${PROJECT_VERSION_MAJOR} )
   set( QUARRA_COMPATIBILITY SameMajorVersion )
endif()

# A shared library that is installed: it exports what its headers mark and its exports.map lets through, no more.
# What it exports stands in exports.txt beside its sources.
function( quarra_shared_library name )
   set( map ${CMAKE_CURRENT_SOURCE_DIR}/exports.map )
   target_link_options( ${name} PRIVATE LINKER:--version-script=${map} )
   set_target_properties( ${name} PROPERTIES
      CXX_VISIBILITY_PRESET hidden
      VISIBILITY_INLINES_HIDDEN ON
      LINK_DEPENDS ${map}
      VERSION ${PROJECT_VERSION}
      SOVERSION ${QUARRA_SOVERSION} )
endfunction()
