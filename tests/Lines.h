#pragma once

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/Batch.h"

namespace QuarraTest {

using QuarraLab::JsonOut;
using QuarraTool::Batch;

// Names of all variants, for tests that run on each.
inline std::vector<std::string> everyVariant() {
   std::vector<std::string> names;
   for ( const auto &variant : QuarraAgent::variants() ) {
      names.emplace_back( variant.name );
   }
   return names;
}

// Drives a switch as `quarra-tcam batch` does, by lines of JSON, and reads as sentences. Every test ends with
// the removal of what it installed: library and chip must then be what they were after set-up.
class LinesTest : public ::testing::Test {
 protected:
   void use( const std::string &variant, const std::string &more = "" ) {
      batch_ = std::make_unique<Batch>( QuarraLab::defaultChoice( variant ) );
      ok( R"({"op":"chip","variant":")" + variant + "\"" + more + "}" );
      const auto &helper = *batch_->usedSwitch()->agent().manager().portsHelper();
      ASSERT_TRUE( QuarraAgent::variantOf( variant )->made( helper ) ) << "another variant than " << variant;
      atStart_ = state();
   }

   const QuarraLab::Switch &used() const { return *batch_->usedSwitch(); }

   JsonOut answer( const std::string &line ) { return batch_->answer( line ); }

   JsonOut ok( const std::string &line ) {
      const auto json = answer( line );
      EXPECT_TRUE( json.at( "ok" ).get<bool>() ) << line << "\n" << json.dump();
      return json;
   }

   // The code of the error with which a line is refused. Checks that nothing has changed.
   std::string refused( const std::string &line ) {
      const auto before = state();
      const auto json = answer( line );
      EXPECT_EQ( JsonOut::diff( before, state() ), JsonOut::array() ) << line;
      if ( json.at( "ok" ).get<bool>() ) {
         return "ok";
      }
      message = json.at( "error" ).at( "message" ).get<std::string>();
      return json.at( "error" ).at( "code" ).get<std::string>();
   }

   static std::string installLine( int group, int entry, const std::string &ports,
                                   const std::string &more = "" ) {
      const auto what =
         ports == "ethernet" ? std::string( R"("ethernet":true)" ) : "\"ports\":[" + ports + "]";
      return R"({"op":"install","group":)" + std::to_string( group ) +
             ",\"entry\":" + std::to_string( entry ) + "," + what + more + "}";
   }
   static std::string rule( const std::string &name ) { return R"(,"rule":{"name":")" + name + "\"}"; }

   JsonOut install( int group, int entry, const std::string &ports, const std::string &more = "" ) {
      installed_.emplace_back( group, entry );
      return ok( installLine( group, entry, ports, more ) );
   }
   void remove( int group, int entry ) {
      std::erase( installed_, std::pair( group, entry ) );
      ok( R"({"op":"remove","group":)" + std::to_string( group ) + ",\"entry\":" + std::to_string( entry ) +
          "}" );
   }
   void createGroup( int group ) {
      created_.push_back( group );
      ok( R"({"op":"createGroup","group":)" + std::to_string( group ) + "}" );
   }

   // Library and chip.
   JsonOut state() { return answer( R"({"op":"dump"})" ); }
   JsonOut dump() { return ok( R"({"op":"dump"})" ); }
   JsonOut mismatches() { return ok( R"({"op":"check"})" ).at( "mismatches" ); }

   // A member of the dump's list `list` whose field `field` is `value`; null when there is none.
   static JsonOut memberOf( const JsonOut &list, const std::string &field, const JsonOut &value ) {
      for ( const auto &item : list ) {
         if ( item.at( field ) == value ) {
            return item;
         }
      }
      return nullptr;
   }
   JsonOut groupDump( int group ) { return memberOf( dump().at( "groups" ), "group", group ); }
   JsonOut portDump( int port ) {
      const auto name = "Port" + std::to_string( port );
      return memberOf( dump().at( "chip" ).at( "ports" ), "port", { { "name", name }, { "port", port } } );
   }

   void TearDown() override {
      if ( !batch_ ) {
         return;
      }
      while ( !installed_.empty() ) {
         remove( installed_.back().first, installed_.back().second );
      }
      for ( const int group : created_ ) {
         answer( R"({"op":"deleteGroup","group":)" + std::to_string( group ) + "}" );
      }
      EXPECT_EQ( JsonOut::diff( atStart_, state() ), JsonOut::array() ) << "left behind";
   }

   std::string message; // of the last refusal

 private:
   std::unique_ptr<Batch> batch_;
   JsonOut atStart_;
   std::vector<std::pair<int, int>> installed_;
   std::vector<int> created_;
};

} // namespace QuarraTest
