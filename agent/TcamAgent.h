#pragma once

#include <compare>
#include <map>
#include <optional>

#include "QuarraTcam/SystemAclAttributes.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManager.h"
#include "Sdk/SdkShim.h"
#include "agent/ChipConfig.h"
#include "agent/PortTableService.h"
#include "agent/RequestRefused.h"

// The reference TCAM agent: creates and deletes groups and installs and removes entries through the manager's
// public operations. The library aborts on a broken invariant; the agent checks every request first, so that
// none can break one, and refuses it with RequestRefused (docs/tool.md lists the codes). After a refusal
// everything is as it was, but for the count that names new keys. Main thread only.
namespace QuarraAgent {

using QuarraTcam::TcamGroupId;

using PortSet = Nodra::FlatSet<QuarraCentral::QuarraModPort>;

// What a caller asks of an entry. Ports and `ethernet` exclude each other; no port at all means no port.
struct InstallRequest {
   TcamGroupId group;
   U32 entry = 0;
   std::vector<QuarraCentral::QuarraModPort> ports = {};
   bool ethernet = false;                       // all ethernet ports
   std::optional<QuarraTcam::RuleId> rule = {}; // needed in system groups
   std::string label = {};                      // the caller's own name for the entry; carried, not looked at
};

// A request from before its first SDK call to after its last one.
struct RequestInFlight {
   bool removal = false;   // else an installation
   InstallRequest request; // of a removal, as the entry was asked for
};

// Told of every request that changes something: state that is to outlive the process is kept by one.
class RequestJournal {
 public:
   virtual ~RequestJournal() = default;

   // Before the first SDK call. Throws RequestRefused when it cannot take the request, which then is not
   // carried out.
   virtual void begins( const RequestInFlight &request ) = 0;

   // After the last SDK call, with the records as they are now. `entry` is 0 where groups were created or
   // deleted. Throws when it could not keep them; the agent must not go on then.
   virtual void ends( TcamGroupId group, U32 entry ) = 0;

   // Instead: the request was refused, before or after it began. At most the count of new keys has changed.
   virtual void refused() = 0;
};

// An installed entry: what was asked, the key that holds its class ID, and the class ID's place.
struct Entry {
   InstallRequest request;
   QuarraTcam::RequestKey key;
};

struct Installed {
   QuarraTcam::RequestKey key;
   U16 classId = 0;
   U16 poolId = 0;
   U8 baseOffset = 0;
   U8 poolWidth = 0;
   QuarraTcam::BitmapQualifier::PtrConst qualifier;
};

class TcamAgent {
 public:
   // Brings the chip up and the manager from empty to ready. The manager must be new; the SDK shim installed.
   // Throws RequestRefused ("badChip", "chipTooSmall") when the chip cannot hold what is reserved at
   // start-up.
   TcamAgent( const Variant &variant, const ChipConfig &chip,
              QuarraTcam::QuarraTcamPortsManager::Ptr manager );

   // The bits of the ACL-group value that the group's qualifiers cover; none for source-trunk-map groups. May
   // be asked again of a group that exists. Groups other than fixed-width ones need not be created before
   // their first entry.
   std::optional<QuarraTcam::QualifierHintInfo> createGroup( TcamGroupId group );

   // Refused while the group has entries. A group that is created again starts afresh.
   void deleteGroup( TcamGroupId group );

   Installed install( const InstallRequest &request );
   void remove( TcamGroupId group, U32 entry );

   // The journal of all further requests; it outlives the agent or is set to null.
   void journalIs( RequestJournal *journal ) { journal_ = journal; }

   // What the qualifiers of the group's entries are held against.
   Sdk::QualifierFrame frameOf( const QuarraTcam::ClassIdTcamGroupConfig &config ) const;

   const Variant &variant() const { return variant_; }
   const ChipConfig &chip() const { return chip_; }
   const QuarraTcam::Scsd &scsd() const { return manager_->scsd(); }
   QuarraTcam::QuarraTcamPortsManager &manager() const { return *manager_; }
   const std::map<U32, Entry> &entries() const { return entries_; }
   U64 portTableWordsWritten() const { return portTableService_->wordsWritten(); }

 private:
   friend class RecordKeeper; // what outlives the process
   friend class RecordReader;
   friend class Recovery; // what it was doing when it ended

   Installed installEntry( const InstallRequest &request );
   void removeEntry( std::map<U32, Entry>::iterator item );
   QuarraTcam::IntfGroupInfo::PtrConst intfGroupOf( const InstallRequest &request ) const;
   QuarraTcam::RequestKey keyOf( const InstallRequest &request,
                                 const QuarraTcam::IntfGroupInfo::PtrConst &intfGroup ) const;
   void writeEntry( const QuarraTcam::ClassIdTcamGroupConfig &config, U32 entry,
                    const QuarraTcam::BitmapQualifier::PtrConst &qualifier );
   bool reservedAtStartUp( TcamGroupId group, const QuarraTcam::RequestKey &key ) const;
   void countAsker( const Entry &entry );
   void forgetPorts( const Entry &entry );
   Installed describe( const InstallRequest &request, const QuarraTcam::RequestKey &key ) const;

   const Variant &variant_;
   ChipConfig chip_;
   PortSet chipPorts_; // the CPU's among them
   QuarraTcam::QuarraTcamPortsManager::Ptr manager_;
   std::optional<PortTableService> portTableService_; // from set-up on
   std::map<U32, Entry> entries_;                     // by entry id, which is unique on the chip
   RequestJournal *journal_ = nullptr;

   // How many entries of a key that was reserved at start-up ask for the same ports.
   struct AskedPorts {
      TcamGroupId group;
      QuarraTcam::RequestKey key;
      bool ethernet;
      std::vector<QuarraCentral::QuarraModPort> ports;

      AskedPorts( const Entry &entry, const QuarraTcam::IntfGroupInfo &intfGroup );
      auto operator<=>( const AskedPorts & ) const = default;
   };
   std::map<AskedPorts, U32> askers_;
};

} // namespace QuarraAgent
