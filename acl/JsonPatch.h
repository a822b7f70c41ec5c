// A change as a patch of RFC 6902.
#pragma once

#include "acl/Complaints.h"

namespace QuarraAcl {

bool isJsonPatch( const Json &root ); // an empty list, too: it changes nothing

// Applies the operations in order, all or nothing: the first that cannot be is a fatal complaint, and
// `document` stays as it was. Neither is too deep.
void applyJsonPatch( const Json &patch, const std::string &file, Json &document, Complaints &complaints );

} // namespace QuarraAcl
