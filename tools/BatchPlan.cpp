#include <cerrno>
#include <cstring>

#include <sys/wait.h>
#include <unistd.h>

#include "acl/ReadAcl.h"
#include "lab/Plan.h"
#include "lab/TextFile.h"
#include "tools/Batch.h"
#include "tools/RuleTexts.h"
#include "tools/Wanted.h"
#include "tools/Warnings.h"

// A plan for the switch of a running batch. A process has one switch, so the copy that a plan is carried out
// on is a child process, whose answer comes through a pipe.
namespace QuarraTool {
namespace {

using QuarraAgent::RequestRefused;

QuarraAcl::AclConfig configOf( JsonFields &fields ) {
   std::vector<QuarraAcl::AclText> texts;
   for ( const auto *name : { "config", "change" } ) {
      if ( fields.has( name ) ) {
         texts.push_back( { fields.place() + "." + name, fields.value( name ).dump() } );
      }
   }
   if ( texts.empty() ) {
      fields.value( "config" ); // tells that it is missing
   }
   auto reading = QuarraAcl::parseAcl( texts );
   if ( !reading.good() ) {
      throw RequestRefused( "badField", QuarraAcl::complaintLines( reading.complaints ).front() );
   }
   return std::move( reading.config );
}

// Warns in `config` of types that none of its tables has.
GroupMap mapOf( JsonFields &fields, const QuarraAgent::Generation &generation,
                QuarraAcl::AclConfig &config ) {
   GroupMap map;
   if ( fields.has( "map" ) ) {
      auto object = fields.object( "map" );
      for ( const auto &[ type, group ] : fields.value( "map" ).items() ) {
         map.emplace( type, TcamGroupId( static_cast<U16>( object.number( type, 0, 0xffff ) ) ) );
      }
   }
   checkGroups( map );
   auto defaults = defaultGroupMap( generation );
   warnOfUnusedTypes( map, defaults, "map: ", config );
   map.merge( defaults );
   return map;
}

// All that the child writes. Throws when it ended without it.
std::string readAll( int descriptor, pid_t child ) {
   std::string text;
   char buffer[ 65536 ];
   for ( ssize_t got = 1; got != 0; ) {
      got = read( descriptor, buffer, sizeof buffer );
      if ( got < 0 && errno != EINTR ) {
         break;
      }
      text.append( buffer, got > 0 ? static_cast<std::size_t>( got ) : 0 );
   }
   close( descriptor );
   int status = 0;
   while ( waitpid( child, &status, 0 ) < 0 && errno == EINTR ) {}
   if ( status != 0 || text.empty() ) {
      throw RequestRefused( "noPlan", "the process that made the plan ended without it" );
   }
   return text;
}

bool writeAll( int descriptor, std::string_view text ) {
   while ( !text.empty() ) {
      const auto written = write( descriptor, text.data(), text.size() );
      if ( written < 0 && errno != EINTR ) {
         return false;
      }
      text.remove_prefix( written > 0 ? static_cast<std::size_t>( written ) : 0 );
   }
   return true;
}

} // namespace

JsonOut Batch::plan( JsonFields &fields ) {
   auto config = configOf( fields );
   const auto map = mapOf( fields, theSwitch().agent().variant().generation, config );
   fields.finish();
   WantedEntries wanted;
   try {
      wanted = wantedOf( config, map, theSwitch().agent().chip().ports );
   } catch ( const InputError &error ) {
      throw RequestRefused( "unknownPort", error.what() );
   }
   int ends[ 2 ];
   if ( pipe( ends ) != 0 ) {
      throw RequestRefused( "noPlan",
                            std::string( "no pipe to a process for the plan: " ) + std::strerror( errno ) );
   }
   const pid_t child = fork();
   if ( child < 0 ) {
      const auto error = errno;
      close( ends[ 0 ] );
      close( ends[ 1 ] );
      throw RequestRefused( "noPlan", std::string( "no process for the plan: " ) + std::strerror( error ) );
   }
   if ( child == 0 ) {
      close( ends[ 0 ] );
      try { // nothing of the parent's goes on here
         detachFromStore( *switch_ );
         switch_->leaveDirToParent();
         auto made = makePlan( std::move( switch_ ), wanted );
         tellRuleFields( made, {}, ruleFieldsOf( config ) );
         _exit( writeAll( ends[ 1 ], planJson( made ).dump() ) ? 0 : 1 );
      } catch ( ... ) {
         _exit( 1 );
      }
   }
   close( ends[ 1 ] );
   auto answer = warningsJson( config );
   answer.update( JsonOut::parse( readAll( ends[ 0 ], child ) ) );
   return answer;
}

} // namespace QuarraTool
