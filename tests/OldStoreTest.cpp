#include <fstream>

#include "agent/Audit.h"
#include "lab/Switch.h"
#include "lab/SwitchDir.h"
#include "soak/Damage.h"
#include "tests/Lasting.h"
#include "tests/Lines.h"

// A store, or the tables of a simulated chip, of an earlier time put back in their place: sound in
// themselves, and not what the other says.
namespace QuarraTest {
namespace {

namespace fs = std::filesystem;
using QuarraLab::Switch;
using QuarraLab::SwitchDir;

constexpr U16 one = 16; // two groups with pools of several bits
constexpr U16 other = 17;

InstallRequest request( U16 group, U32 entry, U32 port ) {
   return { .group = TcamGroupId( group ), .entry = entry, .ports = { { 0, port } }, .rule = {} };
}

void fill( TcamAgent &agent ) {
   agent.createGroup( TcamGroupId( one ) );
   agent.createGroup( TcamGroupId( other ) );
   for ( U32 entry = 1; entry <= 4; ++entry ) {
      agent.install( request( one, entry, entry ) );
      agent.install( request( other, 10 + entry, entry ) );
   }
}

// Entries 3 and 13 go, 30 and 31 come, 2 and 12 are made anew on other ports.
void goOn( TcamAgent &agent ) {
   for ( const auto &[ group, entry ] :
         { std::pair<U16, U32>( one, 3 ), { other, 13 }, { one, 2 }, { other, 12 } } ) {
      agent.remove( TcamGroupId( group ), entry );
   }
   agent.install( request( one, 30, 7 ) );
   agent.install( request( other, 31, 7 ) );
   agent.install( request( one, 2, 8 ) );
   agent.install( request( other, 12, 8 ) );
}

std::set<U32> entriesOf( const Audited &audited, Drift::Kind kind ) {
   std::set<U32> entries;
   for ( const auto &drift : audited.drifts ) {
      if ( drift.kind == kind ) {
         entries.insert( drift.entry );
      }
   }
   return entries;
}

class OldStore : public ::testing::TestWithParam<std::string> {
 protected:
   static void copy( const std::string &from, const std::string &to ) {
      fs::copy_file( from, to, fs::copy_options::overwrite_existing );
   }
   // Takes over what is in the store; the code of the refusal, or "ok". A refusal leaves the chip alone.
   static std::string start( Lasting &lasting, std::string &message ) {
      const auto before = lasting.chip().digest();
      try {
         lasting.start();
      } catch ( const StoreRefused &refused ) {
         message = refused.what();
         lasting.die();
         EXPECT_EQ( lasting.chip().digest(), before );
         return refused.code();
      }
      EXPECT_EQ( lasting.chip().digest(), before ) << "written when it was taken over";
      return "ok";
   }
};

INSTANTIATE_TEST_SUITE_P( EveryVariant, OldStore, ::testing::ValuesIn( everyVariant() ),
                          []( const auto &variant ) { return variant.param; } );

// Whether its lock file is put back with it decides: it counts the commits.
TEST_P( OldStore, OfABackupIsRefusedOrTheAuditNamesWhatTheChipHasBesides ) {
   Lasting lasting( QuarraLab::defaultChoice( GetParam() ) );
   const auto path = lasting.storePath();
   fill( lasting.agent() );
   lasting.die();
   copy( path, path + ".backup" );
   copy( path + ".lock", path + ".lock.backup" );
   const auto then = lasting.chip().digest();
   lasting.start();
   goOn( lasting.agent() );
   lasting.die();

   std::string message;
   copy( path + ".backup", path );
   EXPECT_EQ( start( lasting, message ), "storeDamaged" );
   EXPECT_THAT( message, ::testing::ContainsRegex( "it ends with commit [0-9]+, and there were [0-9]+" ) );
   copy( path + ".backup", path );
   fs::remove( path + ".lock" );
   EXPECT_EQ( start( lasting, message ), "ok" ) << "nobody counts the commits";
   lasting.die();
   copy( path + ".backup", path );
   copy( path + ".lock.backup", path + ".lock" );
   ASSERT_EQ( start( lasting, message ), "ok" ) << message;
   const auto audited = audit( lasting.agent() );
   EXPECT_EQ( entriesOf( audited, Drift::Kind::entryMissing ), std::set<U32>( { 3, 13 } ) );
   EXPECT_EQ( entriesOf( audited, Drift::Kind::entryUnknown ), std::set<U32>( { 30, 31 } ) );
   for ( const U32 entry : { 1U, 4U, 11U, 14U } ) {
      EXPECT_THAT( entriesOf( audited, Drift::Kind::qualifier ),
                   ::testing::Not( ::testing::Contains( entry ) ) );
   }
   repair( lasting.agent() );
   EXPECT_EQ( lasting.chip().digest(), then );
   EXPECT_TRUE( audit( lasting.agent() ).drifts.empty() );
   // The switch goes on from there, as it did before.
   goOn( lasting.agent() );
   EXPECT_TRUE( audit( lasting.agent() ).drifts.empty() );
}

// Pages that an earlier commit had written. What no rule between the records ties together is taken over, and
// the chip is then not what the records say: the audit tells.
TEST_P( OldStore, APageOfAnEarlierTimeIsRefusedOrLeavesTheChipAlone ) {
   constexpr std::size_t pageSize = 4096;
   Lasting lasting( QuarraLab::defaultChoice( GetParam() ) );
   const auto path = lasting.storePath();
   const auto content = [ & ] { return QuarraSoak::contentOf( path ); };
   fill( lasting.agent() );
   lasting.die();
   const auto before = content();
   lasting.start();
   goOn( lasting.agent() );
   lasting.die();
   const auto after = content();
   const auto lock = QuarraSoak::contentOf( path + ".lock" );
   U32 refused = 0;
   U32 told = 0;
   for ( std::size_t page = 0; page < std::min( before.size(), after.size() ); page += pageSize ) {
      auto mixed = after;
      mixed.replace( page, pageSize, before, page, pageSize );
      if ( mixed == after ) {
         continue;
      }
      std::ofstream( path, std::ios::binary | std::ios::trunc ) << mixed;
      std::ofstream( path + ".lock", std::ios::binary | std::ios::trunc ) << lock;
      std::string message;
      const auto code = start( lasting, message );
      EXPECT_THAT( code, ::testing::AnyOf( "ok", "storeDamaged" ) ) << message;
      refused += code != "ok";
      told += code == "ok" && !audit( lasting.agent() ).drifts.empty();
      lasting.die();
   }
   EXPECT_GE( refused, 5u ) << "of the tables that others name: groups, pools, requests, entries";
   EXPECT_GE( told, GetParam() == "testSdk6" ? 0u : 1u ) << "of the bits";
}

TEST_P( OldStore, TablesOfTheChipOfABackupAreFoundByTheAudit ) {
   Directory directory;
   const auto path = directory.file( "switch" );
   const auto open = [ & ] {
      return std::make_unique<Switch>(
         std::make_unique<SwitchDir>( path, QuarraLab::defaultChoice( GetParam() ) ) );
   };
   fill( open()->agent() );
   copy( path + "/chip", path + "/chip.backup" );
   goOn( open()->agent() );
   copy( path + "/chip", path + "/chip.now" );
   const auto now = open()->chip().digest();
   copy( path + "/chip.backup", path + "/chip" );
   const auto theSwitch = open();
   const auto audited = audit( theSwitch->agent() );
   EXPECT_EQ( entriesOf( audited, Drift::Kind::entryMissing ), std::set<U32>( { 30, 31 } ) );
   EXPECT_EQ( entriesOf( audited, Drift::Kind::entryUnknown ), std::set<U32>( { 3, 13 } ) );
   repair( theSwitch->agent() );
   EXPECT_EQ( theSwitch->chip().digest(), now );
}

} // namespace
} // namespace QuarraTest
