#pragma once

#include <map>
#include <string>

#include "lab/JsonText.h"
#include "lab/MatchCheck.h"
#include "lab/Switch.h"

// The state of library and chip as JSON, in a canonical order: equal states give equal text.
namespace QuarraLab {

// Ports by the name of their interface and their number: { "name": "Ethernet4", "port": 2 }, with "module"
// before "port" outside module 0.
class PortsJson {
 public:
   explicit PortsJson( const Switch &theSwitch );

   JsonOut port( const QuarraModPort &port ) const;

   // The port of that name. Throws RequestRefused ("unknownPort").
   QuarraModPort find( const std::string &name ) const;

   template <typename Ports>
   JsonOut list( const Ports &ports ) const {
      auto json = JsonOut::array();
      for ( const auto &each : ports ) {
         json.push_back( port( each ) );
      }
      return json;
   }

 private:
   std::map<QuarraModPort, std::string> names_;
};

JsonOut dumpSpaces( const Switch &theSwitch ); // by class-ID type: size, set bits
JsonOut dumpGroups( const Switch &theSwitch ); // configuration, pools, requests, interface-group index
JsonOut dumpChip( const Switch &theSwitch );   // ports that carry something, TCAM entries

JsonOut configJson( const QuarraTcam::ClassIdTcamGroupConfig &config );
JsonOut portJson( const QuarraModPort &port ); // as requests write it: a number in module 0, else an object
JsonOut keyJson( const QuarraTcam::RequestKey &key );
JsonOut mismatchJson( const Switch &theSwitch, const PortsJson &ports, const Mismatch &mismatch );

} // namespace QuarraLab
