# cmake -D FOLDER=lab/page -D OUTPUT=PageParts.cpp -P EmbedPage.cmake: the page's files as strings of a C++ source.
set( scripts model dom selection spaces matrix pictures panels find main )

# A string literal: compilers take 64 KiB, so a larger file would have to be cut in two.
function( literal file result )
   file( READ ${FOLDER}/${file} text )
   string( LENGTH "${text}" length )
   if( length GREATER 60000 )
      message( FATAL_ERROR "${file} is too long for one literal: cut it in two" )
   endif()
   set( ${result} "R\"~~(${text})~~\"" PARENT_SCOPE )
endfunction()

set( source "#include \"lab/PageParts.h\"\n\nnamespace QuarraLab::PageParts {\n" )
literal( page.html html )
literal( page.css style )
string( APPEND source "const std::string_view html = ${html};\nconst std::string_view style = ${style};\n" )
string( APPEND source "static constexpr std::string_view parts[] = {\n" )
foreach( script ${scripts} )
   literal( ${script}.js text )
   string( APPEND source "${text},\n" )
endforeach()
string( APPEND source "};\nconst std::span<const std::string_view> scripts = parts;\n}\n" )
file( WRITE ${OUTPUT} "${source}" )
