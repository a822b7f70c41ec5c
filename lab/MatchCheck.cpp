#include "lab/MatchCheck.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <tuple>

#include <fmt/format.h>

#include "lab/MatchReasons.h"

namespace QuarraLab {
namespace {

using QuarraAgent::InstallRequest;

// The ports that an entry was asked for, asked about in rising order.
class AskedPorts {
 public:
   explicit AskedPorts( const InstallRequest &request )
      : ethernet_( request.ethernet ), ports_( request.ports ) {
      if ( !std::is_sorted( ports_.begin(), ports_.end() ) ) {
         std::sort( ports_.begin(), ports_.end() );
      }
   }

   bool has( const QuarraModPort &port ) {
      while ( next_ < ports_.size() && ports_[ next_ ] < port ) {
         ++next_;
      }
      return ethernet_ || ( next_ < ports_.size() && ports_[ next_ ] == port );
   }

 private:
   bool ethernet_;
   std::vector<QuarraModPort> ports_;
   std::size_t next_ = 0;
};

std::string takerText( const std::optional<U32> &taker ) {
   if ( !taker ) {
      return "a newer entry";
   }
   return *taker ? fmt::format( "a newer entry (entry {})", *taker ) : "a newer entry, removed since,";
}

} // namespace

std::string reasonName( Reason reason ) {
   switch ( reason ) {
   case Reason::sameRule:
      return "sameRule";
   case Reason::portTaken:
      return "portTaken";
   case Reason::sharedOffset:
      return "sharedOffset";
   case Reason::coveredOffset:
      return "coveredOffset";
   case Reason::offsetCleared:
      return "offsetCleared";
   case Reason::bitWithoutOthers:
      return "bitWithoutOthers";
   case Reason::ethernetPorts:
      return "ethernetPorts";
   case Reason::failedLookUp:
      return "failedLookUp";
   case Reason::fault:
      return "fault";
   }
   return ""; // no enumerator
}

std::string_view knownBehaviour( Reason reason ) {
   switch ( reason ) {
   case Reason::sameRule:
      return "one-rule-one-class-id";
   case Reason::portTaken:
      return "newest-takes-port";
   case Reason::sharedOffset:
      return "fixed-offset-shared";
   case Reason::coveredOffset:
      return "fixed-offset-covered";
   case Reason::offsetCleared:
      return "fixed-offset-cleared";
   case Reason::bitWithoutOthers:
      return "fixed-width-union";
   case Reason::ethernetPorts:
      return "ethernet-511";
   case Reason::failedLookUp:
      return "look-up-may-fail";
   case Reason::fault:
      return "";
   }
   return ""; // no enumerator
}

std::string reasonText( const QuarraAgent::Variant &variant, const Mismatch &mismatch ) {
   const auto group = mismatch.group.value();
   const auto &ethernet = variant.generation.ethernetPorts;
   const auto &ofTwin = variant.generation.twinEthernetPorts;
   switch ( mismatch.reason ) {
   case Reason::sameRule:
      return "one rule has one class ID, and a newer entry of the same rule asked for other ports";
   case Reason::portTaken:
      return fmt::format( "a port carries one class ID of group {}, and {} took the port", group,
                          takerText( mismatch.taker ) );
   case Reason::sharedOffset:
      return fmt::format( "group {} shares its bit with the other groups at this fixed offset", group );
   case Reason::coveredOffset:
      return fmt::format( "the pool of group {} lies over the bit of the fixed-offset groups",
                          mismatch.coveringGroup->value() );
   case Reason::offsetCleared:
      return fmt::format(
         "another class ID over the fixed-offset bit of group {} left the port, and took the bit "
         "along",
         group );
   case Reason::bitWithoutOthers:
      return fmt::format(
         "a bit of fixed-width group {} is programmed without the ports of its other class IDs", group );
   case Reason::ethernetPorts:
      return fmt::format( "all ethernet ports of an {} chip are ports {} to {}, of its twin {} to {}",
                          variant.generation.name, ethernet.first, ethernet.last, ofTwin.first, ofTwin.last );
   case Reason::failedLookUp:
      return "a look-up of the port's table entry failed, and was taken for a missing entry";
   case Reason::fault:
      return "no rule of the system explains this: a fault";
   }
   return ""; // no enumerator
}

std::vector<Mismatch> checkMatches( const Switch &theSwitch ) {
   const auto &ports = theSwitch.ports();
   std::vector<bool> isCpuPort;
   for ( const auto &port : ports ) {
      isCpuPort.push_back( theSwitch.isCpuPort( port ) );
   }
   const auto values = theSwitch.chip().portValues( ports );
   MatchReasons reasons( theSwitch );
   std::vector<Mismatch> mismatches;
   for ( const auto &[ id, entry ] : theSwitch.agent().entries() ) {
      const auto found = theSwitch.chip().matches( id, values );
      AskedPorts asked( entry.request );
      for ( std::size_t i = 0; i < ports.size(); ++i ) {
         const bool expected = asked.has( ports[ i ] );
         if ( found[ i ] == expected || ( entry.request.ethernet && isCpuPort[ i ] ) ) {
            continue;
         }
         Mismatch mismatch{ id, entry.request.group, ports[ i ], expected, found[ i ] };
         reasons.explain( mismatch, entry, i );
         mismatches.push_back( mismatch );
      }
   }
   return mismatches;
}

std::vector<Cause> causesOf( const std::vector<Mismatch> &mismatches, std::size_t examples ) {
   std::vector<Cause> causes;
   std::map<std::tuple<Reason, TcamGroupId, bool, std::optional<TcamGroupId>>, std::size_t> places;
   std::vector<std::set<U32>> entries;
   std::vector<std::set<QuarraModPort>> ports;
   for ( const auto &mismatch : mismatches ) {
      const auto [ item, isNew ] = places.try_emplace(
         { mismatch.reason, mismatch.group, mismatch.expected, mismatch.coveringGroup }, causes.size() );
      if ( isNew ) {
         causes.push_back( { mismatch } );
         causes.back().first.taker.reset();
         entries.emplace_back();
         ports.emplace_back();
      }
      auto &cause = causes[ item->second ];
      ++cause.mismatches;
      entries[ item->second ].insert( mismatch.entry );
      ports[ item->second ].insert( mismatch.port );
      if ( cause.examples.size() < examples ) {
         cause.examples.push_back( mismatch );
      }
   }
   for ( std::size_t i = 0; i < causes.size(); ++i ) {
      causes[ i ].entries = entries[ i ].size();
      causes[ i ].ports = ports[ i ].size();
   }
   return causes;
}

} // namespace QuarraLab
