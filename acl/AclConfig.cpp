#include "acl/AclConfig.h"

#include <fmt/format.h>

#include "lab/TextFile.h"

namespace QuarraAcl {

std::string fieldsText( const std::vector<AclField> &fields ) {
   std::string text;
   for ( const AclField &field : fields ) {
      text += fmt::format( "{}{}={}", text.empty() ? "" : " ", field.name, field.value );
   }
   return QuarraLab::oneLine( text );
}

} // namespace QuarraAcl
