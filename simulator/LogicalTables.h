#pragma once

#include <map>
#include <string>
#include <vector>

#include "Sdk/SdkShim.h"
#include "simulator/LogicalTable.h"

namespace QuarraSimulator {

// The numbers of opcodes, in the order of Sdk::Opcode, and of the priority. Far from 0 and from each other:
// a guessed or swapped number is refused.
inline constexpr std::array<bcmlt_opcode_t, 3> opcodeNumbers = { 0x21, 0x43, 0x65 };
inline constexpr bcmlt_priority_level_t priorityNumber = 0x57;

// The logical tables, and the handles on entries of them. Handles count up, so that one used after it was
// freed is caught. Every operation fails for a handle or name that is unknown (not found) and for a null
// pointer (parameter).
class LogicalTables {
 public:
   static constexpr U32 maxHandles = 1024;

   // System-port numbers run from 0 to systemPorts - 1; a port's ACL-group value is aclGroupBits wide.
   LogicalTables( U32 systemPorts, U32 aclGroupBits );
   LogicalTables( const LogicalTables & ) = delete;
   LogicalTables &operator=( const LogicalTables & ) = delete;

   // Fails when all handles are in use (memory).
   int allocate( const char *table, bcmlt_entry_handle_t *entry );

   // Fails for a value that is wider than the field, or than the chip's ACL-group value leaves of it, and for
   // a key past the table's end (parameter).
   int fieldAdd( bcmlt_entry_handle_t entry, const char *field, U64 value );

   // Fails for a field that has no value (not found).
   int fieldGet( bcmlt_entry_handle_t entry, const char *field, U64 *value );

   // Fails without key and for unknown numbers (parameter), and as the opcode's exchange does.
   int commit( bcmlt_entry_handle_t entry, bcmlt_opcode_t opcode, bcmlt_priority_level_t priority );
   int free( bcmlt_entry_handle_t entry );

   std::vector<std::string> liveHandleTexts() const;

   const std::vector<LogicalTable> &tables() const { return tables_; }
   const LogicalTable &systemPortTable() const { return tables_.front(); }
   void systemPortIs( U32 port, const AclGroupValue &value ) { tables_.front().valueIs( port, value ); }

   // The key that such a commit would look up, if it is a look-up.
   std::optional<U64> lookedUp( bcmlt_entry_handle_t entry, bcmlt_opcode_t opcode ) const;

   // The key that the last commit wrote, if it wrote one.
   std::optional<U64> written() const { return written_; }

 private:
   struct Handle {
      LogicalTable *table;
      WorkingCopy copy{};
   };
   // A field of a handle, or why there is none.
   struct FieldPlace {
      int code;
      Handle *handle = nullptr;
      std::size_t field = 0;
   };

   FieldPlace place( bcmlt_entry_handle_t entry, const char *field );

   std::vector<LogicalTable> tables_;
   std::map<bcmlt_entry_handle_t, Handle> handles_;
   std::optional<U64> written_;
   bcmlt_entry_handle_t nextHandle_ = 0x1000; // no port or TCAM entry passes for a handle
};

} // namespace QuarraSimulator
