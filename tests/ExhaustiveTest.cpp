#include "soak/Exhaustive.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "soak/TinyWorld.h"
#include "tests/Lines.h"

namespace QuarraTest {
namespace {

using namespace QuarraSoak;
using ::testing::HasSubstr;

class ExhaustiveOnEveryVariant : public ::testing::TestWithParam<std::string> {};

TEST_P( ExhaustiveOnEveryVariant, EveryShortHistoryAgreesWithTheModel ) {
   ExhaustiveOptions options{ .variants = { QuarraAgent::variantOf( GetParam() ) },
                              .depth = 2,
                              .restartOneIn = 16 };
   const auto result = exhaust( options, nullptr );
   ASSERT_FALSE( result.failure ) << result.failure->what;
   EXPECT_TRUE( result.whole );
   EXPECT_GE( result.worlds.size(), 2u );
   for ( const auto &world : result.worlds ) {
      EXPECT_EQ( world.depth, 2u ) << world.world;
      EXPECT_GT( world.states, 10u ) << world.world;
      EXPECT_GT( world.histories, world.states ) << world.world;
   }
   options.depth = 1;
   options.restartOneIn = 1;
   const auto short1 = exhaust( options, nullptr );
   options.jobs = 3; // who carries the work does not matter
   const auto short3 = exhaust( options, nullptr );
   for ( std::size_t i = 0; i < short1.worlds.size(); ++i ) {
      const auto &world = short1.worlds[ i ];
      EXPECT_EQ( world.restarts, world.states - 1 ) << world.world << ": each but the first one";
      EXPECT_EQ( world.states, short3.worlds[ i ].states );
      EXPECT_EQ( world.histories, short3.worlds[ i ].histories );
   }
}

INSTANTIATE_TEST_SUITE_P( Variants, ExhaustiveOnEveryVariant, ::testing::ValuesIn( everyVariant() ),
                          []( const auto &variant ) { return variant.param; } );

// Every history of two operations counted one by one, without a state merged, reaches the same states.
TEST( Exhaustive, MergesNoStatesThatDiffer ) {
   const auto worlds = tinyWorlds( *QuarraAgent::variantOf( "testSdk6" ) );
   const auto &world = worlds.front();
   std::set<std::string> texts;
   std::vector<Model> models = { modelOf( Switch( world.chip() ) ) };
   texts.insert( textOf( models.front() ) );
   for ( int depth = 0; depth < 2; ++depth ) {
      std::vector<Model> next;
      for ( const auto &model : models ) {
         for ( std::size_t number = 0; number < world.operations(); ++number ) {
            if ( const auto operation = world.operation( number, model ) ) {
               Hint hint;
               next.push_back( model );
               carryOut( next.back(), *operation, hint );
               texts.insert( textOf( next.back() ) );
            }
         }
      }
      models = std::move( next );
   }
   std::set<Digest> digests;
   for ( const auto &text : texts ) {
      digests.insert( digestOf( text ) );
   }
   EXPECT_EQ( digests.size(), texts.size() );
   const auto result = exhaust(
      { .variants = { QuarraAgent::variantOf( "testSdk6" ) }, .depth = 2, .restartOneIn = 1000 }, nullptr );
   EXPECT_EQ( result.worlds.front().states, texts.size() );
}

TEST( Exhaustive, TextsTellStatesApartByWhatComesNext ) {
   const auto world = tinyWorlds( *QuarraAgent::variantOf( "testSdk6" ) ).front();
   const auto after = [ & ]( const std::vector<Operation> &operations ) {
      Model model = modelOf( Switch( world.chip() ) );
      for ( const auto &operation : operations ) {
         Hint hint;
         carryOut( model, operation, hint );
      }
      return textOf( model );
   };
   using Kind = Operation::Kind;
   const auto install = [ & ]( U32 entry, std::set<Port> ports ) {
      return Operation{ Kind::install, { .group = 16, .entry = entry, .wanted = { std::move( ports ) } } };
   };
   const auto remove = []( U32 entry ) { return Operation{ Kind::remove, { .group = 16, .entry = entry } }; };
   const std::set<Port> one = { Port( 0, 1 ) };
   const std::set<Port> two = { Port( 0, 2 ) };
   EXPECT_EQ( after( { install( 1, one ), remove( 1 ) } ), after( {} ) ) << "all is given back";
   EXPECT_EQ( after( { install( 1, one ), remove( 1 ), install( 1, one ) } ), after( { install( 1, one ) } ) )
      << "keys are named by another count, and nothing else";
   EXPECT_NE( after( { install( 1, one ), install( 2, two ), remove( 2 ) } ), after( { install( 1, one ) } ) )
      << "the class IDs come in another order";
}

// A limit of states, or of time, is no whole depth.
TEST( Exhaustive, SaysHowFarItCame ) {
   const ExhaustiveOptions options{
      .variants = { QuarraAgent::variantOf( "sdk6" ) }, .depth = 8, .states = 300, .restartOneIn = 1000
   };
   const auto result = exhaust( options, nullptr );
   EXPECT_TRUE( result.good() );
   EXPECT_FALSE( result.whole );
   EXPECT_GE( result.states(), 300u );
   for ( const auto &world : result.worlds ) {
      EXPECT_LT( world.depth, 8u );
   }
}

} // namespace
} // namespace QuarraTest
