#include <fmt/format.h>

#include "lab/Plan.h"

namespace QuarraLab {
namespace {

using namespace QuarraTcam;

// FNV-1a: equal texts are told apart from different ones, not from forged ones.
class Digest {
 public:
   void add( std::string_view text ) {
      for ( const char byte : text ) {
         value_ = ( value_ ^ static_cast<U8>( byte ) ) * 0x100000001b3;
      }
   }
   template <typename... Values>
   void line( fmt::format_string<Values...> format, Values &&...values ) {
      line_.clear();
      fmt::format_to( std::back_inserter( line_ ), format, std::forward<Values>( values )... );
      line_.push_back( '\n' );
      add( { line_.data(), line_.size() } );
   }
   // Ports are most of a state: not by way of text.
   void number( U64 value ) {
      value_ = ( value_ ^ value ) * 0x100000001b3;
      value_ ^= value_ >> 29;
   }
   std::string text() const { return fmt::format( "{:016x}", value_ ); }

 private:
   U64 value_ = 0xcbf29ce484222325;
   fmt::memory_buffer line_;
};

void addPorts( Digest &digest, const auto &ports ) {
   for ( const auto &port : ports ) {
      digest.number( U64{ port.modId().value() } << 16 | port.port() );
   }
   digest.number( ports.size() );
}

void addGroup( Digest &digest, const ClassIdTcamGroupStatus &status ) {
   for ( const auto &[ id, pool ] : status.poolStatus() ) {
      digest.line( "pool {} at {} width {}", id, pool->baseOffset(), pool->size() );
      for ( const auto classId : pool->classIdPool() ) {
         digest.line( "free {}", classId );
      }
   }
   for ( const auto &[ key, request ] : status.requestStatus() ) {
      digest.line( "class ID {} of pool {} ethernet {}", request->classId(), request->poolId(),
                   request->intfGroup()->ethernet() );
      for ( const U32 entry : request->entryRef() ) {
         digest.line( "entry {}", entry );
      }
      addPorts( digest, request->intfGroup()->portId() );
   }
}

} // namespace

std::string stateDigest( const Switch &theSwitch ) {
   const auto &agent = theSwitch.agent();
   Digest digest;
   digest.line( "{} {}", agent.variant().name, agent.chip().profile );
   for ( const auto &port : agent.chip().ports ) {
      digest.line( "port {}/{}", port.port.modId().value(), port.port.port() );
   }
   for ( const auto &[ type, bitmap ] : agent.manager().classIdHwStatus() ) {
      digest.line( "space {} of {} {}", static_cast<unsigned>( type ), bitmap->size(), bitmap->hex() );
   }
   for ( const auto &[ group, status ] : agent.manager().classIdTcamGroupStatus() ) {
      digest.line( "group {}", group.value() );
      addGroup( digest, *status );
   }
   for ( const auto &[ id, entry ] : agent.entries() ) {
      const auto rule = entry.request.rule ? entry.request.rule->name() : std::string();
      digest.line( "entry {} of group {} label {} rule {} ethernet {}", id, entry.request.group.value(),
                   entry.request.label, rule, entry.request.ethernet );
      addPorts( digest, entry.request.ports );
   }
   digest.add( theSwitch.chip().digest() );
   return digest.text();
}

void detachFromStore( Switch &theSwitch ) {
   theSwitch.agent().journalIs( nullptr );
   theSwitch.chip().observerIs( {} );
}

} // namespace QuarraLab
