#include "agent/Audit.h"

#include <set>

#include "Nodra/Text.h"
#include "Nodra/Trace.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/ClassIdSpace.h"
#include "Sdk/SdkCall.h"
#include "agent/ChipBits.h"

static Nodra::TraceHandle unitTrace( "TcamAgent" );

namespace QuarraAgent {
namespace {

using namespace QuarraTcam;
using Nodra::Text;
using Sdk::FieldEntry;
using Kind = Drift::Kind;

std::vector<U32> inPortsValue( std::vector<U32> bits, const Sdk::QualifierFrame &frame ) {
   for ( U32 &bit : bits ) {
      bit += frame.firstBit;
   }
   return bits;
}

FieldEntry expectedEntry( const TcamAgent &agent, U32 id, const Entry &entry ) {
   const auto group = entry.request.group;
   const auto qualifier = agent.manager().getClassId( group, entry.key, id );
   FieldEntry expected;
   expected.frame = agent.frameOf( *classIdTcamGroupsInfo.at( group ) );
   expected.installed = true;
   if ( expected.frame.sourceTrunkMapTable ) {
      expected.qualifier = FieldEntry::Qualifier::interfaceClassPort;
      expected.data = static_cast<U32>( qualifier->data()->word( 0 ) );
      expected.mask = static_cast<U32>( qualifier->mask()->word( 0 ) );
   } else {
      expected.qualifier = FieldEntry::Qualifier::aclGroup;
      expected.dataBits = inPortsValue( qualifier->data()->setBits(), expected.frame );
      expected.maskBits = inPortsValue( qualifier->mask()->setBits(), expected.frame );
   }
   return expected;
}

std::string hex( U32 word ) {
   Text text;
   text << "0x" << std::hex << word;
   return text.string();
}

std::string listOf( const std::vector<U32> &bits ) {
   Text text;
   const char *separator = "";
   for ( const U32 bit : bits ) {
      text << separator << bit;
      separator = ",";
   }
   return text.string();
}

std::string qualifierText( const FieldEntry &entry ) {
   switch ( entry.qualifier ) {
   case FieldEntry::Qualifier::none:
      return "no qualifier";
   case FieldEntry::Qualifier::aclGroup:
      return "data bits " + listOf( entry.dataBits ) + " mask bits " + listOf( entry.maskBits );
   case FieldEntry::Qualifier::interfaceClassPort:
      return "class data " + hex( entry.data ) + " mask " + hex( entry.mask );
   }
   return "";
}

std::string textOf( const FieldEntry &entry ) {
   return qualifierText( entry ) + ( entry.installed ? "" : ", not installed" );
}

std::string frameText( const Sdk::QualifierFrame &frame ) {
   Text text;
   text << " in a frame of table " << frame.sourceTrunkMapTable << " first bit " << frame.firstBit << " bits "
        << frame.startBit << "-" << frame.endBit;
   return text.string();
}

Drift ofEntry( Kind kind, U32 entry, std::string expected, std::string found ) {
   Drift drift{ .kind = kind, .expected = std::move( expected ), .found = std::move( found ) };
   drift.entry = entry;
   return drift;
}

// The frame is said only where nothing else tells the two apart.
Drift ofQualifier( U32 entry, const FieldEntry &expected, const FieldEntry &found ) {
   auto wanted = textOf( expected );
   auto is = textOf( found );
   if ( wanted == is ) {
      wanted += frameText( expected.frame );
      is += frameText( found.frame );
   } else if ( !found.installed ) {
      wanted += ", installed";
   }
   return ofEntry( Kind::qualifier, entry, std::move( wanted ), std::move( is ) );
}

// All that an audit reads, kept for the repair.
class Auditor {
 public:
   explicit Auditor( const TcamAgent &agent ) : agent_( agent ), readBack_( SdkShim->readBack() ) {}

   Audited audit() {
      auditEntries();
      auditBits();
      auditWords();
      return audited_;
   }

   // Unknown entries go before anything else; entries come back when the bits that they compare are right.
   void repair() {
      for ( const auto &drift : audited_.drifts ) {
         if ( drift.kind == Kind::entryUnknown ) {
            destroy( drift.entry );
         }
      }
      if ( found_ ) {
         writeBits( agent_, expected_, *found_ );
      }
      for ( const auto &word : wrongWords_ ) {
         const U32 value = agent_.manager().sourceTrunkMapConfig()->request( word );
         SDK_CALL( SdkShim->portTableSet( unit_, word.table(), word.port(), value ) );
      }
      for ( const auto &drift : audited_.drifts ) {
         if ( drift.kind == Kind::entryMissing || drift.kind == Kind::qualifier ) {
            makeAnew( drift );
         }
      }
   }

 private:
   void auditEntries() {
      if ( !readBack_ ) {
         return;
      }
      audited_.readsEntries = true;
      for ( const auto &[ id, entry ] : agent_.entries() ) {
         const auto expected = expectedEntry( agent_, id, entry );
         const auto found = readBack_->fieldEntry( unit_, id );
         ++audited_.entries;
         if ( !found ) {
            audited_.drifts.push_back( ofEntry( Kind::entryMissing, id, textOf( expected ), "nothing" ) );
         } else if ( !( *found == expected ) ) {
            audited_.drifts.push_back( ofQualifier( id, expected, *found ) );
         }
      }
      for ( const U32 id : readBack_->fieldEntries( unit_ ) ) {
         if ( !agent_.entries().contains( id ) ) {
            const auto found = readBack_->fieldEntry( unit_, id );
            audited_.drifts.push_back( ofEntry( Kind::entryUnknown, id, "nothing", textOf( *found ) ) );
         }
      }
   }

   void auditBits() {
      found_ = readBits( agent_ );
      if ( !found_ ) {
         return;
      }
      audited_.readsBits = true;
      expected_ = expectedBits( agent_ );
      expected_.resize( found_->size() );
      const U32 bits = U32{ agent_.chip().flexibleBits } + agent_.chip().fixedBits;
      audited_.bits = U64{ bits } * found_->size();
      for ( U32 port = 0; port < found_->size(); ++port ) {
         const auto differs = expected_[ port ] ^ ( *found_ )[ port ];
         for ( U32 bit = 0; bit < bits && differs.any(); ++bit ) {
            if ( differs.test( bit ) ) {
               const bool expected = expected_[ port ].test( bit );
               Drift drift{ .kind = Kind::portBit,
                            .expected = expected ? "1" : "0",
                            .found = expected ? "0" : "1" };
               drift.port = static_cast<U16>( port );
               drift.module = moduleOf( port );
               drift.bit = static_cast<U8>( bit );
               audited_.drifts.push_back( drift );
            }
         }
      }
   }

   // The words of all of the chip's ports, those that nobody posted among them: they are 0.
   void auditWords() {
      if ( !readBack_ || agent_.chip().sourceTrunkMapBits == 0 ) {
         return;
      }
      const auto &directory = *agent_.manager().sourceTrunkMapConfig();
      const auto &first = agent_.scsd()->quarraModId().begin()->second.chipInfo;
      for ( const auto type : sourceTrunkMapTypes ) {
         const U8 table = sourceTrunkMapTableOf( type );
         for ( const auto &port : allPorts() ) {
            const QuarraCentral::PortTabWriteRequestKey key( first.chipId, port, table );
            const U32 expected = directory.request( key );
            const U32 found = readBack_->portTableGet( unit_, table, port );
            ++audited_.words;
            if ( expected != found ) {
               Drift drift{ .kind = Kind::portWord, .expected = hex( expected ), .found = hex( found ) };
               drift.port = port.port();
               drift.module = port.modId();
               drift.table = table;
               audited_.drifts.push_back( drift );
               wrongWords_.push_back( key );
            }
         }
      }
   }

   std::set<QuarraCentral::QuarraModPort> allPorts() const {
      std::set<QuarraCentral::QuarraModPort> ports( agent_.chip().cpuPorts.begin(),
                                                    agent_.chip().cpuPorts.end() );
      for ( const auto &port : agent_.chip().ports ) {
         ports.insert( port.port );
      }
      return ports;
   }

   QuarraCentral::ModId moduleOf( U32 port ) const {
      for ( const auto &known : agent_.chip().ports ) {
         if ( known.port.port() == port ) {
            return known.port.modId();
         }
      }
      return 0;
   }

   void destroy( U32 entry ) { SDK_CALL( SdkShim->fieldEntryDestroy( unit_, entry ) ); }

   // A qualifier of the right kind is replaced; otherwise the entry is made from the start.
   void makeAnew( const Drift &drift ) {
      const U32 entry = drift.entry;
      const auto &installed = agent_.entries().at( entry );
      const auto found = readBack_->fieldEntry( unit_, entry );
      const auto expected = expectedEntry( agent_, entry, installed );
      const bool other =
         found && ( found->frame != expected.frame || ( found->qualifier != FieldEntry::Qualifier::none &&
                                                        found->qualifier != expected.qualifier ) );
      if ( other ) {
         destroy( entry );
      }
      if ( other || !found ) {
         SDK_CALL( SdkShim->fieldEntryCreate( unit_, entry, expected.frame ) );
      }
      const auto group = installed.request.group;
      agent_.manager().programClassIdQualifierInHw(
         static_cast<U32>( unit_ ), group, entry,
         agent_.manager().getClassId( group, installed.key, entry ) );
      SDK_CALL( SdkShim->fieldEntryInstall( unit_, entry ) );
   }

   const TcamAgent &agent_;
   const Sdk::ReadBack *readBack_;
   const int unit_ = SdkShim->vmSingleUnit();
   Audited audited_;
   PortBits expected_;
   std::optional<PortBits> found_;
   std::vector<QuarraCentral::PortTabWriteRequestKey> wrongWords_;
};

} // namespace

std::string_view stringValue( Drift::Kind kind ) {
   switch ( kind ) {
   case Kind::entryMissing:
      return "entryMissing";
   case Kind::entryUnknown:
      return "entryUnknown";
   case Kind::qualifier:
      return "qualifier";
   case Kind::portBit:
      return "portBit";
   case Kind::portWord:
      return "portWord";
   }
   return "";
}

Audited audit( const TcamAgent &agent ) {
   return Auditor( agent ).audit();
}

Audited repair( const TcamAgent &agent ) {
   Auditor auditor( agent );
   auto audited = auditor.audit();
   auditor.repair();
   return audited;
}

} // namespace QuarraAgent
