#pragma once

#include "agent/RequestRefused.h"

namespace QuarraAgent {

// A store that cannot be used, or that did not take a write. The codes:
//
//    storeMissing       there is no store at the path
//    storeExists        one is to be made where there is one
//    storeInUse         another process holds it; the message says which
//    storeDamaged       what it holds does not fit together, or is not a store
//    storeNewer         a later version of this agent wrote it
//    storeOfAnother     it is of another chip or variant
//    storeReservations  its start-up reservations are not those of this library
//    storeFailed        the file system refused a read or a write
class StoreRefused : public RequestRefused {
 public:
   using RequestRefused::RequestRefused;
};

} // namespace QuarraAgent
