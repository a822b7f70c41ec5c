#include <charconv>

#include <fmt/format.h>

#include "tools/Answers.h"
#include "tools/Command.h"
#include "tools/Subject.h"

namespace QuarraTool {
namespace {

struct WhoOptions {
   SubjectOptions subject;
   std::vector<std::string> words; // SPACE BIT, TABLE or PORT
};

U32 bitOf( const std::string &text ) {
   U32 bit = 0;
   const auto *const end = text.data() + text.size();
   if ( const auto [ rest, error ] = std::from_chars( text.data(), end, bit );
        error != std::errc() || rest != end ) {
      throw InputError( fmt::format( "who: expected the number of a bit, got \"{}\"", text ) );
   }
   return bit;
}

struct Answer {
   JsonOut json;
   std::string text;
};

Answer answer( const Switch &theSwitch, const std::vector<std::string> &words ) {
   if ( words.size() == 2 ) {
      const auto report = whoHoldsBit( theSwitch, spaceNamed( theSwitch, words[ 0 ] ), bitOf( words[ 1 ] ) );
      return { bitReportJson( theSwitch, report ), bitText( theSwitch, report ) };
   }
   const PortNames names( theSwitch );
   if ( names.has( words[ 0 ] ) ) {
      const auto port = names.find( words[ 0 ] );
      return { portReportJson( theSwitch, explainPort( theSwitch, port, {} ) ), portText( theSwitch, port ) };
   }
   const auto report = whoHoldsForTable( theSwitch, words[ 0 ] );
   return { tableReportJson( theSwitch, report ), tableText( theSwitch, report ) };
}

int run( const GlobalOptions &global, const WhoOptions &options, Output &out ) {
   const Subject subject( global, options.subject );
   const auto found = answer( subject.theSwitch(), options.words );
   if ( global.json ) {
      auto json = document( true );
      subject.describe( json );
      json.update( found.json );
      out.print( jsonText( json, global.pretty ) + "\n" );
   } else {
      out.print( found.text );
   }
   return exitGood;
}

Command::Run addOptions( CLI::App &app ) {
   const auto options = std::make_shared<WhoOptions>();
   app.footer(
      "who SPACE BIT   the pools over a bit of a class-ID space, the class IDs that set it, the ports\n"
      "                that carry it; SPACE is a name or flexible, fixed, ifp, vfp\n"
      "who PORT        what the port carries, and whose it is\n"
      "who TABLE       the class IDs behind the table's rules, and who shares them" );
   app.add_option( "WHAT", options->words, "SPACE BIT, PORT or TABLE" )->required()->expected( 1, 2 );
   options->subject.addTo( app );
   return [ options ]( const GlobalOptions &global, Output &out ) { return run( global, *options, out ); };
}

} // namespace

const Command whoCommand = { "who",
                             "Tell who holds a bit, what a table holds, or whose a port's bits are",
                             { CommonOption::json, CommonOption::pretty, CommonOption::variant,
                               CommonOption::chip, CommonOption::switchDir, CommonOption::trace },
                             addOptions };

} // namespace QuarraTool
