#include "tools/Subject.h"

#include <iostream>

#include <fcntl.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include "tools/OpenSwitch.h"
#include "tools/Output.h"
#include "tools/TextTable.h"
#include "tools/Warnings.h"

namespace QuarraTool {

void SubjectOptions::addTo( CLI::App &app ) {
   app.add_option(
         "-c,--config", files,
         "The configuration that the switch holds: applied first, on an empty switch; several times "
         "when ports stand in one file and rules in another" +
            std::string( tellsRules
                            ? ". With --switch, which is left as it is: only tells what the rules of its "
                              "entries say"
                            : "" ) )
      ->type_name( "FILE" )
      ->expected( 1 )
      ->allow_extra_args( false )
      ->take_all();
   app.add_option( "--map", map, "TCAM group for a table type; may be given several times" )
      ->type_name( "TYPE=GROUP" )
      ->allow_extra_args( false );
   app.add_flag( "--bindings", bindings, "Install one entry for each table that has no rules" );
}

void addBindings( AclConfig &config ) {
   for ( auto &table : config.tables ) {
      if ( table.leftOut.empty() && table.rules.empty() ) {
         AclRule rule;
         rule.name = "(binding)";
         rule.table = table.name;
         rule.ports = std::make_shared<std::vector<std::string>>( table.ports );
         table.rules.push_back( std::move( rule ) );
      }
   }
}

Subject::Subject( const GlobalOptions &global, const SubjectOptions &options ) {
   global.checkStandardInput( { options.files } );
   if ( global.switchDir ) {
      if ( ( !options.files.empty() && !options.tellsRules ) || !options.map.empty() || options.bindings ) {
         throw InputError(
            fmt::format( "--switch is a switch that is there: it takes no {}--map or --bindings",
                         options.tellsRules ? "" : "--config, " ) );
      }
      title_ = *global.switchDir;
      if ( !options.files.empty() ) {
         fields_ = ruleFieldsOf( readAcl( options.files ).orRefuse() );
      }
      lasting_ = openSwitch( global );
      return;
   }
   if ( options.files.empty() ) {
      throw InputError( "there is no switch to ask: give it with --switch DIR, or the configuration that it "
                        "holds with --config FILE" );
   }
   title_ = fmt::format( "{}", fmt::join( options.files, ", " ) );
   GroupMap map;
   for ( const auto &text : options.map ) {
      addToMap( map, text );
   }
   auto config = ( options.texts.empty() ? readAcl( options.files ) : parseAcl( options.texts ) ).orRefuse();
   if ( options.bindings ) {
      addBindings( config );
   }
   tellLeftOut( config );
   auto choice = options.choice.value_or( global.choice() );
   choice.onlySwitchOfProcess = options.onlySwitchOfProcess;
   applied_ = std::make_unique<Applied>( std::move( config ), choice, map );
   if ( const auto refused = applied_->refused() ) {
      std::cerr << fmt::format(
         "quarra-tcam: {} of {} did not fit and {} not on the switch; `apply` tells why\n", refused,
         counted( applied_->entries().size(), "rule", "rules" ), refused == 1 ? "is" : "are" );
   }
}

PageNotes Subject::notes() const {
   return applied_ ? notesOf( *applied_ ) : PageNotes{ {}, entryTexts( *lasting_, fields_ ) };
}

void Subject::describe( JsonOut &json ) const {
   json[ "variant" ] = theSwitch().agent().variant().name;
   json[ "chip" ] = theSwitch().agent().chip().profile;
}

PageNotes notesOf( const Applied &applied ) {
   const auto fields = ruleFieldsOf( applied.config() );
   PageNotes notes;
   notes.ruleTexts = entryTexts( applied.theSwitch(), fields );
   for ( const auto &entry : applied.entries() ) {
      if ( !entry.refusedCode.empty() ) {
         const auto &name = entry.request.label;
         notes.refused.push_back(
            { name, entry.refusedCode, entry.refusedMessage, ruleText( fields.at( name ) ) } );
      }
   }
   return notes;
}

void writePage( const std::string &file, const Switch &theSwitch, const std::string &title,
                const PageNotes &notes ) {
   writeFile( file, pageHtml( pageDocument( theSwitch, title, { pageState( theSwitch, "now", notes ) } ) ) );
}

} // namespace QuarraTool
