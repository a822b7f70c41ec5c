#include "tests/Library.h"

// The records on their own: interface groups, pools, and requests that belong to no group or have left it.
namespace QuarraTest {
namespace {

TEST( Records, InterfaceGroupsAreEqualByTheirContents ) {
   const auto group = ports( { 1, 2 } );
   const auto reordered = ports( { 2, 1 } );
   EXPECT_TRUE( group->isEqual( reordered ) );
   EXPECT_EQ( group->hash(), reordered->hash() );
   EXPECT_FALSE( group->isEqual( ports( { 1 } ) ) || group->isEqual( ports( { 1, 3 } ) ) );
   const auto copy = ports( { 7 } );
   EXPECT_NE( copy->hash(), group->hash() );
   copy->deepCopy( group );
   EXPECT_TRUE( copy->isEqual( group ) ) << "nothing of the old contents is left";
   EXPECT_EQ( copy->hash(), group->hash() ) << "nor of its hash";
   copy->ethernetIs( true );
   EXPECT_FALSE( copy->isEqual( group ) );
   EXPECT_NE( copy->hash(), group->hash() );
   copy->portIdDelAll();
   EXPECT_EQ( copy->hash(), allEthernet()->hash() );
   copy->portIdIs( QuarraModPort( 0, 4 ) );
   EXPECT_NE( copy->hash(), allEthernet()->hash() );
   copy->portIdDel( QuarraModPort( 0, 4 ) );
   EXPECT_EQ( copy->hash(), allEthernet()->hash() );
   EXPECT_TRUE( ports( {} )->isEmpty() );
   EXPECT_FALSE( allEthernet()->isEmpty() || group->isEmpty() );
   EXPECT_NE( allEthernet()->hash(), ports( {} )->hash() );
}

TEST( Records, OfAPoolLendFromTheFront ) {
   const auto pool = poolStatusFactory( 9 );
   EXPECT_EQ( pool->poolId(), 9 );
   for ( U16 classId = 1; classId <= 7; ++classId ) {
      pool->classIdPoolEnq( classId );
   }
   std::vector<U16> lent = { pool->classIdPoolDeq(), pool->classIdPoolDeq(), pool->classIdPoolDeq() };
   pool->classIdPoolEnq( 2 );
   while ( pool->classIdPools() ) {
      lent.push_back( pool->classIdPoolDeq() );
   }
   EXPECT_EQ( lent, std::vector<U16>( { 1, 2, 3, 4, 5, 6, 7, 2 } ) );
   EXPECT_EQ( pool->classIdPoolDeq(), 0 ) << "nothing is left";
}

TEST( Records, OfRequestsAreIndexedAsLongAsTheyBelongToTheGroup ) {
   const auto group = classIdTcamGroupStatusFactory( 7 );
   const auto request = group->requestStatusIs( key( "a" ) );
   EXPECT_EQ( group->requestStatusIs( key( "a" ) ), request );
   request->entryRefIs( 1 );
   request->entryRefIs( 2 );
   EXPECT_TRUE( request->entryRefDel( 2 ) );
   EXPECT_FALSE( request->entryRefDel( 2 ) || group->requestStatusDel( key( "b" ) ) );
   EXPECT_EQ( group->requestOfEntry( 1 ), request.get() );
   EXPECT_EQ( group->requestOfEntry( 2 ), nullptr );
   group->requestStatusDelAll();
   EXPECT_EQ( group->requestStatuss(), 0u );
   EXPECT_EQ( group->requestOfEntry( 1 ), nullptr );
   EXPECT_TRUE( request->entryRefDel( 1 ) ) << "it keeps its entries";

   const auto alone = classIdRequestStatusFactory( key( "a" ) );
   EXPECT_TRUE( alone->entryRefIs( 1 ) && alone->entryRefIs( 2 ) );
   alone->entryRefDelAll();
   EXPECT_EQ( alone->entryRefs(), 0u );
   EXPECT_EQ( std::tuple( alone->requestKey(), intfGroupHashToIntfGroupInfoFactory( 3 )->intfGroupHash() ),
              std::tuple( key( "a" ), 3u ) );
}

// A request that let go of an entry stayed in the index behind an older one, and came back when that one
// went.
TEST( Records, OfAnEntryInSeveralRequestsFollowInTheirOrder ) {
   const auto group = classIdTcamGroupStatusFactory( 7 );
   const auto first = group->requestStatusIs( key( "a" ) );
   const auto second = group->requestStatusIs( key( "b" ) );
   const auto third = group->requestStatusIs( key( "c" ) );
   for ( const auto &request : { third, second, first } ) {
      request->entryRefIs( 1 );
   }
   EXPECT_EQ( group->requestOfEntry( 1 ), first.get() );
   second->entryRefDel( 1 );
   first->entryRefDel( 1 );
   EXPECT_EQ( group->requestOfEntry( 1 ), third.get() );
   third->entryRefDel( 1 );
   EXPECT_EQ( group->requestOfEntry( 1 ), nullptr );
}

} // namespace
} // namespace QuarraTest
