#include "bench/Peers.h"

#include <algorithm>
#include <functional>
#include <map>

#include "Nodra/Assert.h"
#include "agent/SystemAclFeatures.h"
#include "lab/CostModel.h"

namespace QuarraBench {
namespace {

using namespace QuarraLab;
using QuarraTcam::IntfGroupInfo;
using JsonOut = nlohmann::ordered_json;
using Ports = std::vector<QuarraModPort>;

// Entries of one TCAM group, and the port that is in none of their sets until it joins all of them.
struct Case {
   const char *profile;
   const char *variant;
   U16 group;
   U32 entries;
   U32 portCount; // of each entry
   bool shared;   // all entries have one port set, or each its own

   ChipChoice choice() const {
      auto choice = defaultChoice( variant );
      for ( const auto &chip : choice.variant->generation.chips ) {
         if ( chip.profile == profile ) {
            choice.chip = QuarraAgent::chipOf( chip );
         }
      }
      return choice;
   }

   QuarraModPort joining() const { return choice().chip.ports.back().port; }

   // Of entry n, from 0. Own sets overlap with those of their neighbours.
   U32 firstPort( U32 n ) const { return shared ? 1 : 1 + n; }
   bool portsHas( U32 n, const QuarraModPort &port ) const {
      return port.port() >= firstPort( n ) && port.port() < firstPort( n ) + portCount;
   }
   Ports ports( U32 n ) const {
      Ports result;
      for ( U32 i = 0; i < portCount; ++i ) {
         result.emplace_back( 0, firstPort( n ) + i );
      }
      return result;
   }
};

// What an action wrote.
struct Writes {
   U64 rows = 0;
   U64 portWords = 0;
   U64 sdkCalls = 0; // every call of the SDK, look-ups among them
};

// Counts what actions write, from the chip's own counts.
class Meter {
 public:
   explicit Meter( const Switch &theSwitch, U64 rowsOfEntry )
      : switch_( theSwitch ), rowsOfEntry_( rowsOfEntry ) {
      begin();
   }

   void begin() {
      start_ = switch_.chip().callCounts();
      startCalls_ = switch_.chip().calls();
      startWrites_ = switch_.chip().portWrites();
   }

   // A row that is rewritten in place counts once, though the simulated chip takes two calls for it.
   Writes end( bool inPlace = false ) {
      auto now = switch_.chip().callCounts();
      const auto since = [ & ]( const char *function ) { return now[ function ] - start_[ function ]; };
      return { rowsOfEntry_ *
                  ( since( "fieldEntryCreate" ) + ( inPlace ? 0 : since( "fieldEntryDestroy" ) ) ),
               switch_.chip().portWrites() - startWrites_, switch_.chip().calls() - startCalls_ };
   }

 private:
   const Switch &switch_;
   U64 rowsOfEntry_;
   std::map<std::string, U64> start_;
   U64 startCalls_ = 0;
   U64 startWrites_ = 0;
};

JsonOut json( const Writes &writes ) {
   return { { "writes", writes.rows + writes.portWords },
            { "rowWrites", writes.rows },
            { "portWords", writes.portWords },
            { "sdkCalls", writes.sdkCalls } };
}

// The entries in, the port joins, the port leaves; each on the chip.
JsonOut measured( const Switch &theSwitch, U64 rowsOfEntry, bool inPlace, const std::function<U32()> &install,
                  const std::function<void()> &join, const std::function<void()> &leave ) {
   Meter meter( theSwitch, rowsOfEntry );
   const U32 installed = install();
   const auto rows = rowsOfEntry * theSwitch.chip().tcamEntries().size();
   const auto installing = meter.end();
   meter.begin();
   join();
   const auto joining = meter.end( inPlace );
   const auto rowsJoined = rowsOfEntry * theSwitch.chip().tcamEntries().size();
   meter.begin();
   leave();
   return { { "installed", installed },
            { "rows", rows },
            { "rowsOfEntry", rowsOfEntry },
            { "install", json( installing ) },
            { "join", json( joining ) },
            { "rowsJoined", rowsJoined },
            { "leave", json( meter.end( inPlace ) ) } };
}

void create( Switch &theSwitch, U32 entry ) {
   const int unit = SdkShim->vmSingleUnit();
   NODRA_ASSERT( theSwitch.chip().fieldEntryCreate( unit, entry, {} ) == 0 );
   NODRA_ASSERT( theSwitch.chip().fieldEntryInstall( unit, entry ) == 0 );
}

void destroy( Switch &theSwitch, U32 entry ) {
   NODRA_ASSERT( theSwitch.chip().fieldEntryDestroy( SdkShim->vmSingleUnit(), entry ) == 0 );
}

JsonOut entryPerPort( const Case &scene ) {
   Switch theSwitch( scene.choice() );
   const U32 before = scene.entries * scene.portCount;
   const auto each = [ & ]( void ( *action )( Switch &, U32 ), U32 first, U32 count ) {
      for ( U32 entry = first; entry < first + count; ++entry ) {
         action( theSwitch, entry );
      }
   };
   return measured(
      theSwitch, rowsFor( scene.choice().chip, portNumberBits ), false,
      [ & ] {
         each( create, 1, before );
         return scene.entries;
      },
      [ & ] { each( create, before + 1, scene.entries ); },
      [ & ] { each( destroy, before + 1, scene.entries ); } );
}

JsonOut portBitmap( const Case &scene ) {
   Switch theSwitch( scene.choice() );
   const auto rewrite = [ & ] {
      for ( U32 entry = 1; entry <= scene.entries; ++entry ) {
         destroy( theSwitch, entry );
         create( theSwitch, entry );
      }
   };
   return measured(
      theSwitch, rowsFor( scene.choice().chip, scene.choice().chip.portBitmapBits ), true,
      [ & ] {
         for ( U32 entry = 1; entry <= scene.entries; ++entry ) {
            create( theSwitch, entry );
         }
         return scene.entries;
      },
      rewrite, rewrite );
}

// ---- Class IDs

class ClassIds {
 public:
   explicit ClassIds( const Case &scene ) : scene_( scene ), switch_( scene.choice() ) {
      fillSystemPortTable();
      switch_.agent().createGroup( scene.group );
   }

   U64 rowsOfEntry() const {
      return rowsFor( switch_.agent().chip(), qualifierBits( switch_, scene_.group ) );
   }
   const Switch &theSwitch() const { return switch_; }
   U64 mismatches() const { return mismatches_; }

   U32 install() {
      for ( U32 n = 0; n < scene_.entries; ++n ) {
         try {
            switch_.agent().install( { scene_.group, n + 1, ports( n, false ), false, {} } );
            installed_.push_back( n );
         } catch ( const QuarraAgent::RequestRefused &refused ) {
            NODRA_ASSERT( refused.code() == "noRoom" );
         }
      }
      verify( false );
      return static_cast<U32>( installed_.size() );
   }

   // The class IDs of the entries move to other ports; the entries stay as they are.
   void program( bool joined ) {
      auto &manager = switch_.agent().manager();
      std::vector<QuarraTcam::RequestKey> done;
      for ( const U32 n : installed_ ) {
         const auto key = manager.getRequestKeyForEntryId( scene_.group, n + 1, QuarraTcam::RuleId() );
         if ( std::find( done.begin(), done.end(), key ) != done.end() ) {
            continue;
         }
         done.push_back( key );
         const auto intfGroup = intfGroupOf( ports( n, joined ) );
         manager.deleteIntfGroupFromIntfGroupInfo( scene_.group, key, intfGroupOf( ports( n, !joined ) ) );
         manager.populateIntfGroupHashToIntfGroupInfo( scene_.group, key, intfGroup );
         manager.programClassIdForIntfGroup( scene_.group, key, n + 1, intfGroup );
      }
      verify( joined );
   }

   // For an agent that never changes an entry: each is removed and installed with its new ports.
   void installAgain( bool joined ) {
      for ( const U32 n : installed_ ) {
         switch_.agent().remove( scene_.group, n + 1 );
         switch_.agent().install( { scene_.group, n + 1, ports( n, joined ), false, {} } );
      }
      verify( joined );
   }

 private:
   // A chip with a table of system ports that has run for a while has an entry for each, and a bit is
   // rewritten in all of them; a fresh one only has those that were needed. An entry of all ethernet ports
   // needs them all.
   void fillSystemPortTable() {
      const TcamGroupId l3Control( 2 );
      const QuarraTcam::RuleId rule( QuarraAgent::featureOf( l3Control ), "PBMP_E_ALL for l3 ctrl group" );
      switch_.agent().install( { l3Control, 1, {}, true, rule } );
      switch_.agent().remove( l3Control, 1 );
   }

   Ports ports( U32 n, bool joined ) const {
      auto result = scene_.ports( n );
      if ( joined ) {
         result.push_back( joining_ );
      }
      return result;
   }

   IntfGroupInfo::PtrConst intfGroupOf( const Ports &ports ) {
      auto profile = std::make_shared<QuarraTcam::IntfProfile>();
      for ( const auto &port : ports ) {
         profile->portIdIs( port );
      }
      return switch_.agent().manager().getIntfGroupFromIntfProfile( profile );
   }

   // The bits of the entry's qualifier count from the start of the group's class-ID space.
   // Entries and ports that match though they should not, or do not though they should.
   void verify( bool joined ) {
      for ( const auto &port : switch_.ports() ) {
         for ( const U32 n : installed_ ) {
            const bool asked = scene_.portsHas( n, port ) || ( joined && port == joining_ );
            mismatches_ += switch_.chip().matches( n + 1, port ) != asked;
         }
      }
   }

   const Case &scene_;
   const QuarraModPort joining_ = scene_.joining();
   Switch switch_;
   std::vector<U32> installed_; // of those asked for
   U64 mismatches_ = 0;
};

JsonOut classIds( const Case &scene, void ( ClassIds::*change )( bool ) ) {
   ClassIds way( scene );
   auto result = measured(
      way.theSwitch(), way.rowsOfEntry(), false, [ & ] { return way.install(); },
      [ & ] { ( way.*change )( true ); }, [ & ] { ( way.*change )( false ); } );
   result[ "mismatches" ] = way.mismatches();
   return result;
}

struct Chip {
   const char *profile;
   const char *variant;
   U16 sharedGroup; // as `apply` sends L3 rules
   U16 ownGroup;    // of one-bit pools, where port sets may overlap
   U32 portsAtMost;
};

constexpr Chip chips[] = {
   { "sdk6-64", "sdk6", 13, 13, 510 },
   { "hsdk-256", "hsdk", 16, 88, 255 },
   { "hsdk-1024", "hsdk", 16, 88, 1023 },
};

std::vector<Case> cases() {
   std::vector<Case> all;
   for ( const auto &chip : chips ) {
      for ( const U32 portCount : { 1u, 8u, 64u, 256u } ) {
         if ( portCount >= chip.portsAtMost ) {
            continue;
         }
         for ( const U32 entries : { 1u, 10u, 100u, 1000u } ) {
            all.push_back( { chip.profile, chip.variant, chip.sharedGroup, entries, portCount, true } );
         }
         for ( const U32 entries : { 10u, 50u, 100u } ) {
            all.push_back( { chip.profile, chip.variant, chip.ownGroup, entries, portCount, false } );
         }
      }
   }
   return all;
}

} // namespace

JsonOut peers() {
   auto result = JsonOut::array();
   for ( const auto &scene : cases() ) {
      result.push_back( { { "chip", scene.profile },
                          { "group", scene.group },
                          { "entries", scene.entries },
                          { "ports", scene.portCount },
                          { "portSets", scene.shared ? "shared" : "own" },
                          { "entryPerPort", entryPerPort( scene ) },
                          { "portBitmap", portBitmap( scene ) },
                          { "classIds", classIds( scene, &ClassIds::program ) },
                          { "classIdsInstalledAgain", classIds( scene, &ClassIds::installAgain ) } } );
   }
   return result;
}

} // namespace QuarraBench
