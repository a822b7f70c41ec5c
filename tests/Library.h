#pragma once

#include <functional>
#include <initializer_list>
#include <memory>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Nodra/Trace.h"
#include "QuarraTcam/QuarraTcamCommonData.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManager.h"
#include "agent/ChipState.h"
#include "lab/Switch.h"

// What tests of the library's own operations share: a chip, a helper of some variant, and a manager whose
// spaces are empty, with groups of the test's own.
namespace QuarraTest {

using namespace QuarraTcam;
using enum ClassIdType;
using enum ClassIdAllocationStrategy;
using QuarraCentral::QuarraModPort;

// The process aborts, and what it printed contains `text`.
#define EXPECT_ABORT( statement, text ) EXPECT_DEATH( statement, ::testing::HasSubstr( text ) )

inline IntfGroupInfo::Ptr ports( std::initializer_list<U32> numbers ) {
   auto intfGroup = intfGroupInfoFactory();
   for ( const U32 number : numbers ) {
      intfGroup->portIdIs( QuarraModPort( 0, number ) );
   }
   return intfGroup;
}

inline IntfGroupInfo::Ptr allEthernet() {
   auto intfGroup = intfGroupInfoFactory();
   intfGroup->ethernetIs( true );
   return intfGroup;
}

inline std::vector<U32> numbersOf( const IntfGroupInfo &intfGroup ) {
   std::vector<U32> numbers;
   for ( const auto &port : intfGroup.portId() ) {
      numbers.push_back( port.port() );
   }
   return numbers;
}

inline RequestKey key( const std::string &name ) {
   return { name, 0, name };
}

// Bits of a chip's class-ID spaces. A size that is not given is the default chip's.
struct Sizes {
   int flexible = -1;
   int fixed = -1;
   int sourceTrunkMap = -1;
};

// How a test's own group uses class IDs.
struct Shape {
   ClassIdType type = aclGroupFlexibleWidth;
   U8 width = 1;
   U8 numPools = 1;
   U32 poolBits = 0;
   ClassIdAllocationStrategy allocation = allocateOnDemand;
};

class LibraryTest : public ::testing::Test {
 protected:
   ~LibraryTest() override { Nodra::traceLevelsDelAll(); }

   // Brings up a chip of the variant.
   void bringUp( std::string_view variantName = "testSdk6", Sizes sizes = {} ) {
      const auto &variant = *QuarraAgent::variantOf( variantName );
      auto config = QuarraAgent::defaultChip( variant.generation );
      config.flexibleBits = static_cast<U8>( sizes.flexible < 0 ? config.flexibleBits : sizes.flexible );
      config.fixedBits = static_cast<U8>( sizes.fixed < 0 ? config.fixedBits : sizes.fixed );
      config.sourceTrunkMapBits =
         static_cast<U8>( sizes.sourceTrunkMap < 0 ? config.sourceTrunkMapBits : sizes.sourceTrunkMap );
      chip.reset();
      chip = QuarraLab::makeChip( variant, config );
      manager = quarraTcamPortsManagerFactory( "manager of a test" );
      QuarraAgent::bringUpManager( *manager, variant, config );
      scsd = std::const_pointer_cast<Quarra::QuarraCommonSmData>( manager->scsd() );
      helper = manager->portsHelper();
      directory = manager->sourceTrunkMapConfig();
      QuarraLab::showAclGroupsOf( variant, helper, *chip );
   }

   // Gives the manager its empty spaces, without any group.
   void emptySpaces( Sizes sizes = {} ) { emptySpaces( "testSdk6", sizes ); }
   void emptySpaces( std::string_view variantName, Sizes sizes ) {
      bringUp( variantName, sizes );
      manager->initializeHwBitmaps();
   }

   // Registers a group. The helper's answer for its type depends on the number: choose one of the right type.
   void group( TcamGroupId id, Shape shape ) {
      addClassIdInfoToMap( id, getGroupConfigType( id, shape.type, shape.poolBits, shape.width,
                                                   shape.numPools, shape.allocation ) );
   }

   bool reserve( TcamGroupId id, const RequestKey &requestKey, U32 entry ) {
      return manager->reserveClassId( id, requestKey, entry );
   }

   // Reserves under the interface group and programs it, as for one TCAM entry.
   void carry( TcamGroupId id, const RequestKey &requestKey, U32 entry,
               const IntfGroupInfo::PtrConst &intfGroup ) {
      ASSERT_TRUE( manager->reserveClassIdForIntfGroup( id, requestKey, entry, intfGroup ) );
      manager->programClassIdForIntfGroup( id, requestKey, entry, intfGroup );
   }

   // A mistake, and what it ends in: the function that noticed, and its condition.
   struct Mistake {
      const char *function;
      const char *assertion;
      std::function<void()> make;
   };

   // Each mistake aborts, in a process of its own.
   static void expectAborts( const std::vector<Mistake> &mistakes ) {
      Nodra::traceLevelsIs( "*/0-9" ); // what leads to the abort can be shown
      for ( const auto &[ function, assertion, make ] : mistakes ) {
         const std::string by = std::string( function ) + "(";
         const std::string failed = std::string( "assertion failed: " ) + assertion + "\n";
         EXPECT_DEATH( make(),
                       ::testing::AllOf( ::testing::HasSubstr( by ), ::testing::HasSubstr( failed ) ) )
            << by << " " << failed;
      }
      Nodra::traceLevelsDelAll();
   }

   static QuarraCentral::ChipInfo usedChip() { return getQuarraTcamCommonData()->chipInfo(); }

   // The manager whose chip has another profile.
   QuarraTcamPortsManager &withProfile( const Nodra::PtrConst<QuarraCentral::ChipProfile> &profile ) {
      return QuarraCentral::activeChipProfileIs( usedChip(), profile ), *manager;
   }
   QuarraTcamPortsManager &withoutProfile() { return withProfile( nullptr ); }
   QuarraTcamPortsManager &withEmptyProfile() {
      return withProfile( std::make_shared<QuarraCentral::ChipProfile>() );
   }

   const ClassIdTcamGroupStatus &status( TcamGroupId id ) { return *manager->classIdTcamGroupStatus( id ); }
   const ClassIdRequestStatus &request( TcamGroupId id, const RequestKey &requestKey ) {
      return *status( id ).requestStatus( requestKey );
   }
   std::vector<U32> reservedBits( ClassIdType type ) { return manager->classIdHwStatus( type )->setBits(); }

   // Ports that carry a bit of the ACL-group value, on the SDK6 twin.
   std::vector<U32> portsWithBit( U32 bit ) {
      std::vector<U32> found;
      for ( const auto &[ port, bits ] : shadow() ) {
         if ( bits->test( bit ) ) {
            found.push_back( port );
         }
      }
      return found;
   }
   const Nodra::ValueMap<U16, Vesk::Bitmap::Ptr> &shadow() {
      return dynamic_cast<QuarraTcamTestSdk6PortsHelper &>( *helper ).aclGroupShadow();
   }

   std::unique_ptr<QuarraSimulator::SimulatedChip> chip;
   Quarra::QuarraCommonSmData::Ptr scsd;
   QuarraTcamPortsHelper::Ptr helper;
   Nodra::Ptr<QuarraCentral::PortTabWriteRequestDir> directory;
   QuarraTcamPortsManager::Ptr manager;
};

} // namespace QuarraTest
