#pragma once

#include <array>
#include <bitset>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "Sdk/Generation.h"
#include "Sdk/SdkShim.h"
#include "Vesk/Bitmap.h"
#include "simulator/Export.h"
#include "simulator/ReturnCode.h"

// A switch chip over tables in memory, with the SDK functions of both SDK generations. It is as strict as a
// chip: whatever a chip would refuse gets the SDK's negative code and changes nothing.
namespace QuarraSimulator {

using namespace Nodra::Types;

using Sdk::Generation;

struct ChipOptions {
   Generation generation = Generation::sdk6;
   int unit = 0;

   // Bits of a port's ACL-group value. SDK6: the number of subport port groups. HSDK: the width of the
   // combined value, at most 160.
   U32 aclGroupBits = 64;

   // Class-ID bits of a source-trunk-map word, 0 to 16. With 0 the chip cannot match on them.
   U32 sourceTrunkMapBits = 16;

   // HSDK: number of system ports; 1 to 65536.
   U32 systemPorts = 256;

   // HSDK: the system port under which a port's packets look up their ACL-group value. Without one, the
   // port's number.
   std::function<U32( const QuarraCentral::QuarraModPort & )> systemPort = {};

   // Port numbers, each at most 2047.
   std::vector<U32> ports = {}; // ethernet ports, all of them on the front panel
   std::vector<U32> cpuPorts = {};
   std::vector<U32> loopbackPorts = {};
};

// A TCAM entry and the one qualifier it may carry, of the kind that its frame is for. A second qualifier
// replaces the first: at once before the entry is installed, afterwards when it is installed again.
struct TcamEntry {
   enum class Kind { none, aclGroup, interfaceClassPort };

   Sdk::QualifierFrame frame = {};
   bool installed = false; // it matches nothing before
   Kind kind = Kind::none;
   std::vector<U32> dataBits = {}; // aclGroup: bits of the ports' value, rising, a subset of maskBits
   std::vector<U32> maskBits = {};
   U32 data = 0; // interfaceClassPort
   U32 mask = 0;
};

// What an observer is told of a call of an SDK function: what it returned, and what of the chip it wrote. All
// of it is valid during the observer's own time only.
struct SdkCallSeen {
   std::string_view function = {};
   int code = 0;
   U32 entry = 0;               // the TCAM entry that it created, qualified, installed or destroyed, or 0
   std::vector<U32> ports = {}; // ports (HSDK: system ports) whose value or word it wrote, rising
};
using Observer = std::function<void( const SdkCallSeen & )>;

// A port's ACL-group value, wide enough for every generation.
using AclGroupValue = std::bitset<256>;

// What qualifiers are held against, on each port of a list: the chip as it was when it was asked.
struct PortValues {
   std::vector<AclGroupValue> aclGroups;
   std::vector<std::array<U32, 2>> words; // of tables 9 and 10
};

// Ports' ACL-group values that are kept outside of the chip, by port number.
using AclGroupSource = std::function<const Vesk::Bitmap *( U32 port )>;

class ChipState;

// The chip, and the SDK shim in front of it. Installs itself in SdkShim while it lives: aborts when a shim is
// installed already. One thread at a time.
class QUARRA_SIMULATOR_API SimulatedChip : public Sdk::Shim {
 public:
   // Aborts on options outside their ranges.
   explicit SimulatedChip( ChipOptions options );
   SimulatedChip( const SimulatedChip & ) = delete;
   SimulatedChip &operator=( const SimulatedChip & ) = delete;
   ~SimulatedChip() override;

   // The SDK shim. pbmp() aborts for another unit, pbmpPortAdd() for a port above 2047, which is never a
   // member. A formatted bitmap always has the same length: "0x" and 64 words, the highest first.
   int vmSingleUnit() const override;
   const bcm_pbmp_t &pbmp( int unit, Sdk::PbmpKind kind ) const override;
   bool pbmpMember( const bcm_pbmp_t &pbmp, U32 port ) const override;
   void pbmpPortAdd( bcm_pbmp_t &pbmp, U32 port ) const override;
   U32 pbmpFormatLength() const override;
   void pbmpFormat( const bcm_pbmp_t &pbmp, char *buffer ) const override;
   bcmlt_opcode_t opcode( Sdk::Opcode opcode ) const override;
   bcmlt_priority_level_t priorityNormal() const override;
   const char *errorText( int code ) const override;

   // Fails for entry 0 and for a frame that the chip has not (parameter), and for an entry that is there
   // (exists).
   int fieldEntryCreate( int unit, U32 entry, const Sdk::QualifierFrame &frame ) override;
   // Fails for an entry that is not there (not found), and for one that is installed as it is (exists).
   int fieldEntryInstall( int unit, U32 entry ) override;
   // Fails for an entry that is not there (not found).
   int fieldEntryDestroy( int unit, U32 entry ) override;
   // Tables 9 and 10 hold the source-trunk map. Fails for another table (not found) and for a port without
   // module (parameter).
   int portTableSet( int unit, U8 table, const QuarraCentral::QuarraModPort &port, U32 value ) override;

   // The ACL-group value of a port, aclGroupBits wide. SDK6: the port's word. HSDK: of a system port, the
   // bits of ACL_GROUP_BITMAP (0 to 31) and of ACL_GROUP_CLASS_ID_k (from 32 + 16 k). All clear when the chip
   // has none.
   Vesk::Bitmap aclGroup( U32 port ) const;

   // Ports (HSDK: system ports) whose ACL-group value is not all clear, rising.
   std::vector<U32> portsWithAclGroup() const;

   // HSDK: system ports that have a table entry, rising; also those whose fields are all 0.
   std::vector<U32> tableEntries() const;

   // A port's word of table 9 or 10, 0 when never written; and all words that are not 0. Another table
   // aborts.
   U32 sourceTrunkMapWord( U8 table, const QuarraCentral::QuarraModPort &port ) const;
   const std::map<QuarraCentral::QuarraModPort, U32> &sourceTrunkMapWords( U8 table ) const;

   const std::map<U32, TcamEntry> &tcamEntries() const;

   // Whether the entry matches a packet that came in on the port: on every bit of the mask, what the entry's
   // frame names of the port reads as the data. A class qualifier's mask never passes the low 16 bits of the
   // port's word. An entry without qualifier matches every port; one that is not installed, or not there,
   // matches none.
   bool matches( U32 entry, const QuarraCentral::QuarraModPort &port ) const;

   // The same for many ports, and for many entries on the same ports.
   PortValues portValues( std::span<const QuarraCentral::QuarraModPort> ports ) const;
   std::vector<bool> matches( U32 entry, const PortValues &ports ) const;

   // From now on the ports' ACL-group values are the source's, for everything but digest(): for a switch
   // whose helper keeps them and leaves the chip alone. Null from the source means all clear. An empty source
   // gives the chip's own tables back.
   void aclGroupsFrom( AclGroupSource source );

   // All tables as text, one line a TCAM entry, port, word or table entry: equal exactly when the tables read
   // the same. Lists no table entry whose fields are all 0, since ports read alike with and without it; those
   // show in tableEntries().
   std::string digest() const;

   // ---- Past the SDK: no call, not counted and not observed. To give a new chip what an earlier one held,
   // and to damage what a chip holds.

   // Of a port (HSDK: system port; makes its table entry). Bits beyond aclGroupBits are left out.
   void aclGroupIs( U32 port, const Vesk::Bitmap &value );
   void sourceTrunkMapWordIs( U8 table, const QuarraCentral::QuarraModPort &port, U32 value );
   void tcamEntryIs( U32 entry, const TcamEntry &held );
   void tcamEntryDel( U32 entry );

   bool hasTableEntry( U32 port ) const; // as tableEntries()

   const Sdk::ReadBack *readBack() const override;

   // Calls of SDK functions since the chip was made, failed ones too, by the function's name. The three
   // operations of the shim that return a code count as functions.
   std::map<std::string, U64> callCounts() const;
   U64 calls() const;

   // HSDK: handles not freed yet, at most 1024, and a line for each: "4096 ING_SYSTEM_PORT_TABLE 17".
   U32 liveHandles() const;
   std::vector<std::string> liveHandleTexts() const;

   // Writes of a port's value or word since the chip was made: each port whose word a call changed (SDK6),
   // each table entry that a commit wrote (HSDK), each word of the source-trunk map that was set.
   U64 portWrites() const;

   // What one bit of the ACL-group value costs of these, when a port gains it and no other port changes.
   U64 writesOfABit( U32 port ) const;

   // Calls the observer after each call of an SDK function, failed ones too, when the chip is as the call
   // left it. An observer may ask the chip whatever is const here: which ports an entry matches, values,
   // words, entries, the digest. It may not call the SDK, nor destroy the chip. An empty one observes no
   // more.
   void observerIs( Observer observer );

   // Fails the n-th call from now on (1: the next), of all functions or of the named one, once: it returns
   // `code`, and nothing changes. Further requests add to this one. Aborts when nth is 0, the code is not
   // negative, or there is no such function.
   void failCall( U64 nth, int code, const std::string &function = {} );

   // HSDK: the system ports of which a look-up was failed by request.
   const std::set<U32> &failedLookUps() const;

   // Requests to fail a call that has not come yet.
   U32 pendingFailures() const;

 private:
   std::unique_ptr<ChipState> state_;
   std::unique_ptr<Sdk::ReadBack> readBack_;
};

} // namespace QuarraSimulator
