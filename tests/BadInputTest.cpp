#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Nodra/Trace.h"
#include "tests/BadInputs.h"
#include "tests/ToolRun.h"
#include "tools/ApplyReport.h"

// Bad input is refused in one line, with its code, and nothing is applied.
namespace QuarraTest {
namespace {

using namespace QuarraAcl;
using namespace QuarraLab;
using namespace QuarraTool;
using ::testing::HasSubstr;
using ::testing::StartsWith;

Nodra::TraceHandle agentTrace( "TcamAgent" );

constexpr auto dumpLine = R"({"op":"dump"})";

void expectRefused( const BadInput &input, const JsonOut &answer ) {
   EXPECT_EQ( answerProblem( answer ), "" ) << input.where();
   ASSERT_EQ( answer.at( "ok" ), false ) << input.where();
   EXPECT_EQ( answer.at( "error" ).at( "code" ), input.field( "code" ) ) << input.where() << answer.dump();
   EXPECT_THAT( answer.at( "error" ).at( "message" ).get<std::string>(), HasSubstr( input.field( "says" ) ) )
      << input.where();
}

// What the command prints of input that it refuses, "" for input that it takes.
std::string refusalOf( const std::function<void()> &read ) {
   try {
      read();
   } catch ( const InputError &error ) {
      return error.what();
   } catch ( const QuarraAgent::RequestRefused &refused ) {
      return refused.code() + ": " + refused.what();
   }
   return "";
}

void expectRefusal( const BadInput &input, const std::string &refusal ) {
   EXPECT_EQ( lineProblem( refusal ), "" ) << input.where();
   EXPECT_THAT( refusal, HasSubstr( input.field( "says" ) ) ) << input.where();
   if ( const auto code = input.field( "code" ); !code.empty() ) {
      EXPECT_THAT( refusal, StartsWith( code + ": " ) ) << input.where();
   }
}

// A switch after the lines of a prelude.
std::unique_ptr<Batch> batchAfter( const JsonOut &prelude ) {
   auto batch = std::make_unique<Batch>( defaultChoice( "testSdk6" ) );
   for ( const auto &line : prelude ) {
      const auto answer = batch->answer( line.dump() );
      EXPECT_EQ( answer.at( "ok" ), true ) << line.dump() << answer.dump();
   }
   return batch;
}

TEST( BadInput, IsListedInAtLeast200CasesAndForEveryCode ) {
   const auto inputs = allBadInputs();
   EXPECT_GE( inputs.size(), 200u );
   std::set<std::string> codes;
   for ( const auto &input : inputs ) {
      codes.insert( input.field( "code" ) );
   }
   codes.erase( "" );
   codes.insert( "indexCollision" ); // two port sets of one hash
   EXPECT_EQ( codes, documentedCodes() );
}

TEST( BadInput, InABatchIsRefusedAndChangesNothing ) {
   JsonOut prelude;
   JsonOut state;
   std::unique_ptr<Batch> batch;
   for ( const auto &input : badInputs( "line" ) ) {
      if ( !batch || input.fields.at( "prelude" ) != prelude ) {
         prelude = input.fields.at( "prelude" );
         batch.reset();
         batch = batchAfter( prelude );
         state = batch->answer( dumpLine );
      }
      expectRefused( input, batch->answer( input.text ) );
      EXPECT_EQ( JsonOut::diff( state, batch->answer( dumpLine ) ), JsonOut::array() ) << input.where();
   }
}

TEST( BadInput, AsAChipIsRefusedInAFileAndInABatch ) {
   const auto defaultState = batchAfter( {} )->answer( dumpLine );
   for ( const auto &input : badInputs( "chip" ) ) {
      expectRefusal( input, refusalOf( [ & ] {
                        const Switch made(
                           parseChip( input.text, "chip.json", defaultChoice( "testSdk6" ) ) );
                     } ) );
      auto line = input.fields.at( "json" );
      line[ "op" ] = "chip";
      Batch batch( defaultChoice( "testSdk6" ) );
      expectRefused( input, batch.answer( line.dump() ) );
      EXPECT_EQ( JsonOut::diff( defaultState, batch.answer( dumpLine ) ), JsonOut::array() ) << input.where();
   }
   for ( const auto &input : badInputs( "chipFile" ) ) {
      const auto refusal =
         refusalOf( [ & ] { parseChip( input.text, "chip.json", defaultChoice( "testSdk6" ) ); } );
      expectRefusal( input, refusal );
      EXPECT_THAT( refusal, HasSubstr( "chip.json:" ) ) << input.where();
   }
}

TEST( BadInput, AsAConfigurationIsRefusedWithItsPlace ) {
   for ( const auto &input : badInputs( "config" ) ) {
      const auto refusal = refusalOf( [ & ] { parseConfigDb( input.text, "acl.json" ); } );
      expectRefusal( input, refusal );
      EXPECT_THAT( refusal, StartsWith( "acl.json:" ) ) << input.where();
   }
}

TEST( BadInput, AsAnOptionIsRefused ) {
   for ( const auto &input : badInputs( "map" ) ) {
      GroupMap map;
      expectRefusal( input, refusalOf( [ & ] {
                        for ( const auto &text : input.fields.at( "texts" ) ) {
                           addToMap( map, text );
                        }
                     } ) );
   }
   for ( const auto &input : badInputs( "failSdkCall" ) ) {
      expectRefusal( input, refusalOf( [ & ] { sdkCallFailure( input.text ); } ) );
   }
   for ( const auto &input : badInputs( "variant" ) ) {
      expectRefusal( input, refusalOf( [ & ] { defaultChoice( input.text ); } ) );
   }
   for ( const auto &input : badInputs( "trace" ) ) {
      expectRefusal( input, Nodra::traceLevelsIs( input.text ) );
      EXPECT_EQ( agentTrace.levels(), 0 ) << input.where();
   }
}

class Command : public ToolTest {
 protected:
   void expectBadInput( const BadInput &input, const std::vector<std::string> &arguments ) const {
      const auto ran = run( arguments );
      EXPECT_EQ( ran.code, 2 ) << input.where();
      EXPECT_EQ( ran.printed, "" ) << input.where();
      const auto &error = ran.complained;
      ASSERT_TRUE( error.ends_with( '\n' ) ) << input.where() << error;
      EXPECT_THAT( error, StartsWith( "quarra-tcam: " ) ) << input.where();
      expectRefusal( input, error.substr( 0, error.size() - 1 ) );
   }
};

TEST_F( Command, RefusesBadInputWithExitCode2AndOneLine ) {
   for ( const auto &input : badInputs( "command" ) ) {
      expectBadInput( input, input.fields.at( "args" ) );
   }
   for ( const auto &input : badInputs( "config" ) ) {
      if ( input.fields.contains( "command" ) ) {
         expectBadInput( input, { "apply", write( "input.json", input.text ) } );
         expectBadInput( input, { "-j", "apply", write( "input.json", input.text ), "--bindings" } );
      }
   }
}

TEST( Tolerated, LinesAreCarriedOut ) {
   for ( const auto &input : badInputs( "toleratedLine" ) ) {
      const auto answer = batchAfter( input.fields.at( "prelude" ) )->answer( input.text );
      EXPECT_EQ( answer.at( "ok" ), true ) << input.where() << answer.dump();
   }
}

std::vector<std::string> reportedLines( const Applied &applied ) {
   std::vector<std::string> lines;
   std::istringstream report( applyReport( applied, false ) );
   for ( std::string line; std::getline( report, line ); ) {
      lines.push_back( line );
   }
   return lines;
}

TEST( Tolerated, ConfigurationsAreAppliedAndTheOddIsReported ) {
   for ( const auto &input : badInputs( "toleratedConfig" ) ) {
      const Applied applied( parseConfigDb( input.text, "acl.json" ), defaultChoice( "testSdk6" ), {} );
      EXPECT_TRUE( applied.allFitAndMatch() ) << input.where();
      std::string reported;
      for ( const auto &warning : applied.config().warnings ) {
         reported += warning + "; ";
      }
      for ( const auto &table : applied.config().tables ) {
         reported += table.name + " left out: " + table.leftOut + "; ";
      }
      EXPECT_THAT( reported, HasSubstr( input.field( "says" ) ) ) << input.where();
   }
}

// Names of tables, rules, ports and files went to the terminal as they came: a name with a line break split a
// line of the report in two, one with an escape sequence was obeyed.
TEST( Tolerated, NamesWithControlCharactersAreOneLineInTheReport ) {
   const auto text = R"({"PORT":{"E\u001b[2J":{},"E\u009b2J":{}},"ACL_RULE":{"T\nU|R\tS":{},"V|R\r":{}},
      "ACL_TABLE":{"T\nU":{"type":"L3\b","ports":["E\u001b[2J"]},"V":{"type":"V","ports":["E\u009b2J"]},
      "W\n":{"type":"L3","stage":"egress"}}})";
   const GroupMap map = { { "V", 2 } }; // a system group refuses V's rule
   const Applied applied( parseConfigDb( text, "a\nb.json" ), defaultChoice( "testSdk6" ), map );
   EXPECT_EQ( applied.refused(), 1u );
   const auto lines = reportedLines( applied );
   for ( const auto &line : lines ) {
      EXPECT_EQ( oneLine( line ), line );
   }
   EXPECT_THAT( lines, ::testing::Contains( HasSubstr( R"(V|R\x0d (group 2): unknownRule)" ) ) );
   EXPECT_THAT( lines, ::testing::Contains( HasSubstr( R"(E\x1b[2J)" ) ) );
}

// A table's name of 100 KB was padded into 100 MB of columns, and the line that refused the deletion of a
// group named each of its 100,000 entries. A byte of Latin-1 that terminals obey came through as it was.
TEST( Tolerated, LongNamesAreShortInTheReport ) {
   const std::string name( 1024, 'x' ); // no longer one is taken
   const auto text = R"({"PORT":{"E":{}},"ACL_TABLE":{")" + name +
                     R"(":{"type":"V","ports":["E"]}, "W":{"type":"V","ports":["E"]}},
      "ACL_RULE":{")" +
                     name + "|" + name + R"(":{},"W|R":{}}})";
   const Applied applied( parseConfigDb( text, "a.json" ), defaultChoice( "testSdk6" ), { { "V", 2 } } );
   for ( const auto &line : reportedLines( applied ) ) {
      EXPECT_LT( line.size(), 500u );
   }
   EXPECT_EQ( applyJson( applied ).at( "tables" )[ 1 ].at( "name" ), name ) << "whole in the document";
}

TEST( BadInput, IsQuotedInPart ) {
   const auto message = messageLine( std::string( 100'000, 'x' ) + "\xc3\xa4" + std::string( 999, 'y' ) );
   EXPECT_EQ( message.size(), 4002u ) << "a character that would be cut is left out";
   EXPECT_THAT( message, HasSubstr( "xxx...yyy" ) );
   EXPECT_EQ( oneLine( "a\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80" ), "a\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80" );
   EXPECT_EQ( oneLine( "\x9b"
                       "2J\xc2\x9b\xe0\x82\x9b\xc3" ),
              R"(\x9b2J\u009b\xe0\x82\x9b\xc3)" );
   for ( const auto *edge :
         { "\x7e", "\xc2\xa0", "\xdf\xbf", "\xe0\xa0\x80", "\xe0\xbf\xbf", "\xe1\x80\x80", "\xec\xbf\xbf",
           "\xed\x80\x80", "\xed\x9f\xbf", "\xee\x80\x80", "\xef\xbf\xbf", "\xf0\x90\x80\x80",
           "\xf1\x80\x80\x80", "\xf3\xbf\xbf\xbf", "\xf4\x8f\xbf\xbf" } ) {
      EXPECT_EQ( oneLine( edge ), edge );
   }
   for ( const auto &[ wrong, shown ] :
         std::map<std::string, std::string>{ { "\xc1\xbf", R"(\xc1\xbf)" },
                                             { "\xe0\x9f\xbf", R"(\xe0\x9f\xbf)" },
                                             { "\xed\xa0\x80", R"(\xed\xa0\x80)" },
                                             { "\xf0\x8f\xbf\xbf", R"(\xf0\x8f\xbf\xbf)" },
                                             { "\xf4\x90\x80\x80", R"(\xf4\x90\x80\x80)" },
                                             { "\xf5\x80\x80\x80", R"(\xf5\x80\x80\x80)" } } ) {
      EXPECT_EQ( oneLine( wrong ), shown );
   }
   EXPECT_EQ( oneLine( { "a\0b", 3 } ), R"(a\x00b)" );
   EXPECT_EQ( jsonText( { { "n", "\xc2\x9b"
                                 "2J\x7f\xc3\xa4\x9b" } } ),
              "{\"n\":\"\\u009b2J\\u007f\xc3\xa4\xef\xbf\xbd\"}" );
   for ( std::size_t most = 1; most < 12; ++most ) {
      const auto text = QuarraAgent::shortened( "\xe2\x82\xac\xe2\x82\xac\xe2\x82\xac\xe2\x82\xac", most );
      EXPECT_EQ( oneLine( text ), text ) << "no character is cut in two";
   }
}

TEST( BadInput, OfAChipFileIsReportedWhole ) {
   const auto text =
      R"({"variant":"sdk7","ports":[1,-1,{"port":2,"x":0}],"fixedBits":"8","flexibleBits":999,"colour":1})";
   try {
      parseChip( text, "c.json", defaultChoice( "testSdk6" ) );
      FAIL();
   } catch ( const InputErrors &errors ) {
      std::string places;
      for ( const auto &line : errors.lines() ) {
         places += line.substr( 0, line.find( ": ", line.find( ' ' ) + 1 ) ) + "\n";
      }
      EXPECT_EQ(
         places,
         "unknownVariant: variant \"sdk7\"\noutOfRange: c.json.flexibleBits\nbadField: c.json.fixedBits\n"
         "outOfRange: c.json.ports[1]\nunknownField: c.json.ports[2]\nunknownField: c.json\n" );
   }
}

// A byte of value 0 ended the text for the parser: what followed, half a file or a second object, was ignored
// without a word. In a name it cut the message short.
TEST( BadInput, DoesNotEndAtAByteOfValue0 ) {
   const auto refusal = []( std::string text ) { return refusalOf( [ & ] { parseConfigDb( text, "f" ); } ); };
   EXPECT_EQ( refusal( std::string( "{\"ACL_TABLE\":{}}\0!", 18 ) ),
              "f:1:17: syntax error: a character of value 0" );
   EXPECT_EQ( refusal( R"({"ACL_TABLE":{"T":{"type":"L3","ports":["A\u0000B"]}},"PORT":{}})" ),
              R"(f: ACL_TABLE|T.ports[0]: port "A\x00B" is not in PORT)" );
}

} // namespace
} // namespace QuarraTest
