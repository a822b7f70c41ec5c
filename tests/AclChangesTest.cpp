#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "acl/Changes.h"
#include "tests/AclSummary.h"

// What differs between two configurations: nothing that does, and all that does.
namespace QuarraAcl {
namespace {

// "T changes: ports; T|R comes": every change in one line.
std::string changesText( const AclConfig &before, const AclConfig &after ) {
   const auto changes = changesBetween( before, after );
   Names parts;
   const auto add = [ & ]( const std::string &name, AclChangeKind kind,
                           const std::vector<std::pair<bool, const char *>> &flags ) {
      std::string text = fmt::format( "{} {}", name, kindName( kind ) );
      for ( const auto &[ flag, word ] : flags ) {
         text += flag ? fmt::format( " {}", word ) : "";
      }
      parts.push_back( text );
   };
   for ( const auto &port : changes.portsThatCome ) {
      parts.push_back( "+" + port );
   }
   for ( const auto &port : changes.portsThatGo ) {
      parts.push_back( "-" + port );
   }
   for ( const auto &table : changes.tables ) {
      add( table.name, table.kind,
           { { table.type, "type" },
             { table.stage, "stage" },
             { table.ports, "ports" },
             { table.leftOut, "leftOut" },
             { table.fields, "fields" } } );
      for ( const auto &rule : table.rules ) {
         add( table.name + "|" + ( rule.after ? rule.after : rule.before )->name, rule.kind,
              { { rule.ports, "ports" }, { rule.priority, "priority" }, { rule.fields, "fields" } } );
      }
   }
   return fmt::format( "{}", fmt::join( parts, "; " ) );
}

AclConfig read( const std::string &text ) {
   return parseAcl( { { "f", text } } ).orRefuse();
}

const std::string before =
   R"({"PORT":{"E0":{},"E4":{},"E8":{}},"ACL_TABLE":{"T":{"type":"L3","ports":"E0,E4"},
   "U":{"type":"L3","ports":"E0"},"V":{"type":"L3","ports":"E8"}},"ACL_RULE":{"T|R":{"PRIORITY":"9","SRC_IP":"1.0.0.0/8"},
   "T|S":{"PRIORITY":"8","IN_PORTS":"E0"},"T|X":{"PRIORITY":"7"},"U|R":{}}})";

TEST( AclChanges, NameWhatComesGoesAndChangesAndInWhat ) {
   const auto after =
      R"({"PORT":{"E0":{},"E4":{},"E10":{}},"ACL_TABLE":{"T":{"type":"L3V6","ports":"E4,E0","policy_desc":"x"},
      "U":{"type":"L3","ports":"E0,E10"},"N":{"type":"L3","ports":"E10"}},"ACL_RULE":{"T|R":{"PRIORITY":"8","SRC_IP":"2.0.0.0/8"},
      "T|S":{"PRIORITY":"8","IN_PORTS":"E4"},"T|Y":{"PRIORITY":"7"},"U|R":{}}})";
   EXPECT_EQ(
      changesText( read( before ), read( after ) ),
      "+E10; -E8; N comes; T changes type fields; T|R changes priority fields; T|S changes ports; T|X goes; "
      "T|Y comes; U changes ports; U|R changes ports; V goes" );
   EXPECT_EQ( changesText( read( before ), read( before ) ), "" );
   EXPECT_EQ(
      changesText(
         read( before ),
         read(
            R"({"PORT":{"E0":{},"E4":{},"E8":{}},"ACL_TABLE":{"U":{"type":"L3","stage":"egress","ports":"E0"}}})" ) ),
      "T goes; T|R goes; T|S goes; T|X goes; U changes stage leftOut; U|R goes; V goes" );
}

// Rules of an ordered list have no priorities of their own: one put before a thousand others changes none of
// them.
TEST( AclChanges, InAnOrderedListOnlyWhatPassedOthersHasMoved ) {
   const auto list = []( const std::string &names ) {
      std::string aces;
      for ( const char name : names ) {
         aces += fmt::format( R"({}{{"name":"{}"}})", aces.empty() ? "" : ",", name );
      }
      return read( R"({"acls":{"acl":[{"name":"a","aces":{"ace":[)" + aces +
                   R"(]}}],"attachment-points":{"interface":[
         {"interface-id":"E0","ingress":{"acl-sets":{"acl-set":[{"name":"a"}]}}}]}}})" );
   };
   EXPECT_EQ( changesText( list( "abcdef" ), list( "nabcmdefo" ) ),
              "a changes; a|m comes; a|n comes; a|o comes" );
   EXPECT_EQ( changesText( list( "abcdef" ), list( "fabcde" ) ), "a changes; a|f changes priority" );
   EXPECT_EQ( changesText( list( "abcdef" ), list( "bcef" ) ), "a changes; a|a goes; a|d goes" );
   std::string order = "abcdefghij";
   std::mt19937 random( 7 );
   for ( int round = 0; round < 200; ++round ) {
      std::string other = order;
      std::ranges::shuffle( other, random );
      const auto first = list( order );
      const auto second = list( other );
      const auto changes = changesBetween( first, second );
      std::string kept = other;
      for ( const auto &rule :
            changes.tables.empty() ? std::vector<AclRuleChange>() : changes.tables.front().rules ) {
         std::erase( kept, rule.after->name.front() );
      }
      EXPECT_TRUE( std::ranges::is_sorted( kept ) ) << other << ": those that did not move keep their order";
      EXPECT_GE( kept.size(), 3u ) << other << ": ten in any order have four that rise, or four that fall";
   }
}

} // namespace
} // namespace QuarraAcl
