#include "tests/StateText.h"

#include "Nodra/Text.h"

namespace QuarraTest {
namespace {

using namespace QuarraTcam;
using Nodra::Text;

void addPool( Text &text, const PoolStatus &pool ) {
   text << "  pool " << pool.poolId() << " at " << pool.baseOffset() << " mask " << pool.tcamMask()->hex()
        << " width " << pool.size() << " free";
   for ( const U16 classId : pool.classIdPool() ) {
      text << " " << classId;
   }
   text << "\n";
}

void addRequest( Text &text, const ClassIdRequestStatus &request ) {
   text << "  request " << request.requestKey() << " class ID " << request.classId() << " of pool "
        << request.poolId() << " ports " << *request.intfGroup() << " entries";
   for ( const U32 entryId : request.entryRef() ) {
      text << " " << entryId;
   }
   text << "\n";
}

void addGroup( Text &text, const ClassIdTcamGroupStatus &status ) {
   text << "group " << status.tcamGroupId() << " last pool " << status.lastPoolNum() << "\n";
   for ( const auto &[ poolId, pool ] : status.poolStatus() ) {
      addPool( text, *pool );
   }
   for ( const auto &[ key, request ] : status.requestStatus() ) {
      addRequest( text, *request );
   }
   for ( const auto &[ hash, info ] : status.intfGroupHashToIntfGroupInfo() ) {
      for ( const auto &[ key, intfGroup ] : info->requestKeyToIntfGroup() ) {
         text << "  index " << hash << " " << key << " " << *intfGroup << "\n";
      }
   }
}

} // namespace

std::string stateText( const QuarraTcamPortsManager &manager, const QuarraSimulator::SimulatedChip &chip ) {
   Text text;
   for ( const auto &[ type, bitmap ] : manager.classIdHwStatus() ) {
      text << "space " << type << " of " << bitmap->size() << " bits " << bitmap->hex() << "\n";
   }
   for ( const auto &[ id, status ] : manager.classIdTcamGroupStatus() ) {
      addGroup( text, *status );
   }
   text << chip.digest();
   for ( const auto &handle : chip.liveHandleTexts() ) {
      text << "handle " << handle << "\n";
   }
   return text.string();
}

} // namespace QuarraTest
