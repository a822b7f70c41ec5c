#include "lab/Usage.h"
#include "tests/Lines.h"

// How full a switch is, and how many more port sets it takes: the promise is kept by filling it.
namespace QuarraTest {
namespace {

using namespace QuarraLab;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr auto chips = {
   R"(,"portBits":4,"ports":10,"flexibleBits":17,"fixedBits":24)",
   R"(,"portBits":4,"ports":10,"flexibleBits":21,"fixedBits":40)",
};

class UsageTest : public LinesTest {
 protected:
   JsonOut usageOfGroup( int group ) {
      return memberOf( ok( R"({"op":"usage"})" ).at( "groups" ), "group", group );
   }
   int further( int group ) { return usageOfGroup( group ).at( "furtherPortSets" ).get<int>(); }

   // Each variant with each chip that can be one of it.
   static std::vector<std::pair<std::string, std::string>> variantsAndChips() {
      std::vector<std::pair<std::string, std::string>> all;
      for ( const auto &variant : everyVariant() ) {
         for ( const auto *chip : chips ) {
            Batch batch( QuarraLab::defaultChoice( variant ) );
            const auto line = R"({"op":"chip","variant":")" + variant + "\"" + chip + "}";
            if ( batch.answer( line ).at( "ok" ).get<bool>() ) {
               all.emplace_back( variant, chip );
            }
         }
      }
      return all;
   }

   // A port set of its own for each number.
   static std::string portSet( int number ) {
      std::string ports;
      for ( int port = 1; number; ++port, number >>= 1 ) {
         if ( number & 1 ) {
            ports += ( ports.empty() ? "" : "," ) + std::to_string( port );
         }
      }
      return ports;
   }

   // Installs new port sets until there is no room: how many went in.
   int fill( int group, int firstSet ) {
      int filled = 0;
      for ( ;; ++filled ) {
         const int id = group * 1000 + filled + 1;
         const auto line = installLine( group, id, portSet( firstSet + filled ) );
         if ( !answer( line ).at( "ok" ).get<bool>() ) {
            return filled;
         }
         added_.emplace_back( group, id );
      }
   }
   void removeAdded() {
      for ( ; !added_.empty(); added_.pop_back() ) {
         remove( added_.back().first, added_.back().second );
      }
   }

 private:
   std::vector<std::pair<int, int>> added_;
};

// The promise on fragmented spaces: other groups hold bits in between, some of them given back.
TEST_F( UsageTest, AsManyPortSetsFitAsPromised ) {
   int filled = 0;
   for ( const auto &[ variant, chip ] : variantsAndChips() ) {
      SCOPED_TRACE( variant + chip );
      use( variant, chip );
      std::vector<std::pair<int, int>> kept;
      createGroup( 16 );
      for ( int i = 0; i < 9; ++i ) {
         if ( answer( installLine( i % 3 == 2 ? 132 : 16, 900 + i, portSet( i + 1 ) ) ).at( "ok" ) == true ) {
            kept.emplace_back( i % 3 == 2 ? 132 : 16, 900 + i );
         }
      }
      for ( std::size_t i = 0; i < kept.size(); i += 2 ) {
         remove( kept[ i ].first, kept[ i ].second );
      }
      for ( const int group : { 16, 13, 15, 238, 51 } ) {
         if ( usageOfGroup( group ).is_null() ) {
            continue;
         }
         SCOPED_TRACE( group );
         answer( R"({"op":"createGroup","group":)" + std::to_string( group ) + "}" );
         const int promised = further( group );
         const int fitted = fill( group, 300 );
         EXPECT_EQ( fitted, promised );
         EXPECT_EQ( further( group ), 0 );
         filled += fitted;
         removeAdded();
         answer( R"({"op":"deleteGroup","group":)" + std::to_string( group ) + "}" );
      }
      for ( std::size_t i = 1; i < kept.size(); i += 2 ) {
         remove( kept[ i ].first, kept[ i ].second );
      }
      TearDown();
   }
   EXPECT_GT( filled, 500 );
}

TEST_F( UsageTest, RunsAndHoldersAreCounted ) {
   use( "sdk6", R"(,"ports":6)" );
   const auto before = ok( R"({"op":"usage"})" ).at( "spaces" );
   install( 16, 1, "1", rule( "OFFICE|DNS" ) );
   install( 16, 2, "1", rule( "PRINTERS|SCAN" ) );
   install( 13, 3, "2", rule( "OFFICE|WEB" ) );
   install( 13, 4, "3" );
   const auto full = ok( R"({"op":"usage"})" );
   const auto spaceBefore = memberOf( before, "space", "aclGroupFlexibleWidth" );
   auto space = memberOf( full.at( "spaces" ), "space", "aclGroupFlexibleWidth" );
   EXPECT_EQ( space.at( "used" ), spaceBefore.at( "used" ).get<int>() + 4 + 1 + 1 );
   const int run = space.at( "largestFreeRun" ).get<int>();
   EXPECT_EQ( space.at( "free" ), run ) << "nothing was given back yet: the free bits lie together";
   EXPECT_EQ( usageOfGroup( 16 ).at( "classIds" ), 1 );
   EXPECT_EQ( usageOfGroup( 16 ).at( "entries" ), 2 );
   ASSERT_EQ( full.at( "tables" ).size(), 4u ) << "no table, OFFICE in two groups, PRINTERS";
   const auto printers = memberOf( full.at( "tables" ), "table", "PRINTERS" );
   EXPECT_EQ( printers.at( "shared" ), 1 ) << "with OFFICE";
   EXPECT_EQ( printers.at( "entries" ), 1 );
   remove( 16, 1 );
   remove( 16, 2 );
   space = memberOf( ok( R"({"op":"usage"})" ).at( "spaces" ), "space", "aclGroupFlexibleWidth" );
   EXPECT_EQ( space.at( "freeRuns" ), 2 );
   EXPECT_EQ( space.at( "largestFreeRun" ), run );
   EXPECT_EQ( space.at( "free" ), run + 4 );
}

// A group that only it fills is full when its class IDs are lent; a space of one-bit pools tells that itself.
TEST_F( UsageTest, AFixedWidthGroupOfWidePoolsIsALevelOfItsOwn ) {
   use( "hsdk" );
   createGroup( 18 );
   createGroup( 45 );
   createGroup( 16 );
   install( 16, 1, "1" );
   install( 16, 2, "2" );
   std::vector<std::string> levels;
   for ( const auto &level : levelsOf( used() ) ) {
      levels.push_back( level.name + " " + std::to_string( level.used ) + "/" + std::to_string( level.size ) +
                        " " + std::to_string( level.largestFreeRun ) );
   }
   EXPECT_THAT( levels,
                ::testing::ElementsAre( "aclGroupFlexibleWidth 12/32 20", "aclGroupFixedWidth 17/128 111",
                                        "group 16 2/255 0", "group 18 0/255 0" ) );
}

std::vector<Level> levelsWith( U32 used, U32 size, U32 lent = 0 ) {
   std::vector<Level> levels = { { "aclGroupFlexibleWidth", used, size } };
   if ( lent ) {
      levels.push_back( { "group 16", lent, 255 } );
   }
   return levels;
}

TEST( UsageMonitor, TheFullestDecidesAndEveryBadOneIsNamed ) {
   struct Case {
      std::vector<Level> levels;
      Health health;
      const char *line;
   };
   const Case cases[] = {
      { levelsWith( 44, 64 ), Health::ok,
        "QUARRA-TCAM OK - fullest: aclGroupFlexibleWidth 69% (44 of 64) |" },
      { levelsWith( 1, 5, 51 ), Health::ok,
        "QUARRA-TCAM OK - fullest: aclGroupFlexibleWidth 20% (1 of 5) |" },
      { levelsWith( 7, 10 ), Health::warning, "QUARRA-TCAM WARNING - aclGroupFlexibleWidth 70% (7 of 10) |" },
      { levelsWith( 9, 10 ), Health::critical,
        "QUARRA-TCAM CRITICAL - aclGroupFlexibleWidth 90% (9 of 10) |" },
      { levelsWith( 1, 10, 250 ), Health::critical, "QUARRA-TCAM CRITICAL - group 16 98% (250 of 255) |" },
      { levelsWith( 7, 10, 200 ), Health::warning,
        "QUARRA-TCAM WARNING - aclGroupFlexibleWidth 70% (7 of 10), group 16 78% (200 of 255) |" },
      { {}, Health::unknown, "QUARRA-TCAM UNKNOWN - " },
   };
   for ( const auto &item : cases ) {
      const auto found = monitor( item.levels, 70, 90 );
      EXPECT_EQ( found.health, item.health );
      EXPECT_THAT( found.line, StartsWith( item.line ) );
      EXPECT_EQ( found.line.find( '\n' ), std::string::npos );
   }
   EXPECT_THAT( monitor( levelsWith( 44, 64 ), 70, 90 ).line,
                HasSubstr( "| 'aclGroupFlexibleWidth'=68.8%;70;90;0;100" ) );
}

TEST_F( UsageTest, ANameCannotBreakTheLinesForPrometheus ) {
   use( "testSdk6", R"(,"ports":3)" );
   install( 13, 1, "1", rule( R"(A\"B\\C|X)" ) );
   const Switch &theSwitch = used();
   const auto text = prometheusText( theSwitch, usageOf( theSwitch ) );
   EXPECT_THAT( text, HasSubstr( R"(table="A\"B\\C"} 1)" ) );
   EXPECT_THAT( text, HasSubstr( "# TYPE quarra_tcam_space_bits gauge\n" ) );
   auto usage = usageOf( theSwitch );
   usage.tables.front().table = "\a\nB\x1b[2J\n\xff";
   EXPECT_THAT( prometheusText( theSwitch, usage ), HasSubstr( R"(table="\\x07\nB\\x1b[2J\n\\xff"})" ) )
      << "the format has \\n, \\\\ and \\\" only";
   EXPECT_THAT( text, HasSubstr( "space=\"aclGroupFlexibleWidth\"} 64\n" ) );
}

} // namespace
} // namespace QuarraTest
