#include "lab/PortNames.h"

#include <fmt/format.h>

#include "lab/TextFile.h"

namespace QuarraLab {
namespace {

std::string numberText( const QuarraModPort &port ) {
   return port.modId() == QuarraCentral::ModId( 0 )
             ? fmt::format( "{}", port.port() )
             : fmt::format( "{}/{}", port.modId().value(), port.port() );
}

} // namespace

PortNames::PortNames( const Switch &theSwitch ) {
   for ( const auto &port : theSwitch.ports() ) {
      names_.emplace( port, QuarraAgent::portName( port ) );
      ports_.emplace( QuarraAgent::portName( port ), port );
   }
   for ( const auto &port : theSwitch.agent().chip().ports ) {
      names_[ port.port ] = port.intf;
   }
   for ( const auto &[ port, name ] : names_ ) {
      ports_.insert_or_assign( numberText( port ), port );
   }
   for ( const auto &[ port, name ] : names_ ) { // a name goes before a number that reads alike
      ports_.insert_or_assign( name, port );
   }
}

std::string PortNames::name( const QuarraModPort &port ) const {
   const auto item = names_.find( port );
   return item == names_.end() ? QuarraAgent::portName( port ) : oneLine( item->second );
}

std::string PortNames::full( const QuarraModPort &port ) const {
   const auto text = name( port );
   return text == QuarraAgent::portName( port ) ? text
                                                : fmt::format( "{} (port {})", text, numberText( port ) );
}

std::string PortNames::list( const std::vector<QuarraModPort> &ports ) const {
   const auto isNamed = [ & ]( const auto &port ) { return name( port ) != QuarraAgent::portName( port ); };
   std::string text;
   for ( auto first = ports.begin(); first != ports.end(); ) {
      auto last = first;
      while ( std::next( last ) != ports.end() && std::next( last )->modId() == last->modId() &&
              std::next( last )->port() == last->port() + 1 &&
              isNamed( *std::next( last ) ) == isNamed( *last ) ) {
         ++last;
      }
      text.append( text.empty() ? "" : ", " ).append( name( *first ) );
      if ( last != first ) {
         text.append( "-" ).append( name( *last ) );
      }
      first = std::next( last );
   }
   return text.empty() ? "none" : text;
}

std::string PortNames::list( const QuarraTcam::IntfGroupInfo &intfGroup ) const {
   return intfGroup.ethernet() ? "all ethernet"
                               : list( { intfGroup.portId().begin(), intfGroup.portId().end() } );
}

const QuarraModPort *PortNames::lookUp( const std::string &text ) const {
   const auto item = ports_.find( text );
   return item == ports_.end() ? nullptr : &item->second;
}

bool PortNames::has( const std::string &text ) const {
   return lookUp( text );
}

QuarraModPort PortNames::find( const std::string &text ) const {
   if ( const auto *port = lookUp( text ) ) {
      return *port;
   }
   std::vector<QuarraModPort> all;
   for ( const auto &[ port, name ] : names_ ) {
      all.push_back( port );
   }
   throw QuarraAgent::RequestRefused(
      "unknownPort", fmt::format( "there is no port \"{}\"; the switch has {}", text, list( all ) ) );
}

} // namespace QuarraLab
