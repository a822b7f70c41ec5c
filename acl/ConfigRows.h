// config_db.json as tables of rows, whichever way each row was written, and the fields of a row.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "acl/Draft.h"
#include "acl/NaturalOrder.h"
#include "lab/JsonText.h"

namespace QuarraAcl {

// One row of a table, e.g. ACL_RULE|DATAACL|RULE_1.
struct ConfigRow {
   Place place;                   // its full key
   std::vector<std::string> name; // the parts of the key after the table's name: DATAACL and RULE_1
   const Json *fields;            // always an object
   bool spoilt = false;           // something in it was complained about
};

using ConfigSection = std::map<std::string, ConfigRow, NaturalLess>; // by key without the table's name

// A flattened key: "ACL_RULE|DATAACL|RULE_1", or as the applied state has it,
// "ACL_RULE_TABLE:DATAACL:RULE_1".
struct RowKey {
   std::string_view table; // ACL_RULE
   std::string name;       // DATAACL|RULE_1
};

bool isTableName( std::string_view name ); // of a table that is read

// Nothing for a key of another table, or of no row.
std::optional<RowKey> rowKey( std::string_view key );

// The fields of a row, taken out of what a dump wraps around it.
const Json &rowFields( const Json &row );

// The tables that matter to ACLs; others are not looked at. A row may be wrapped as a dump of the database
// has it: { "type": "hash", "value": { fields } }.
class ConfigRows {
 public:
   // `root` outlives this. Keys that came twice in it are `repeated`: their rows are spoilt.
   ConfigRows( const Json &root, const std::string &file, const std::vector<Complaint> &repeated,
               Complaints &complaints, Warnings &warnings );

   bool has( std::string_view table ) const;                  // true for an empty one, too
   const ConfigSection &rows( std::string_view table ) const; // none when there is no such table

 private:
   void complainAboutRepeated( const std::vector<Complaint> &repeated );
   void addRow( std::string_view table, const std::string &key, const Json &value );
   std::vector<std::string> repeatedIn( const std::string &row ) const;

   const std::string &file_;
   Complaints &complaints_;
   std::vector<std::string> repeated_; // places, sorted
   std::map<std::string, ConfigSection, std::less<>> sections_;
};

// The rule or table that a row of `table` belongs to, for complaints.
Subject subjectOf( std::string_view table, const ConfigRow &row );

// Reads the fields of one row. Names of fields are found in upper or lower case. A field of the wrong type,
// or one that is there more than once, is a complaint and counts as absent.
class RowFields {
 public:
   RowFields( const ConfigRow &row, const Subject &subject, Complaints &complaints )
      : row_( row ), subject_( subject ), complaints_( complaints ) {}

   // The value of a field as JSON, with its place.
   struct Field {
      Place place;
      const Json *value;
   };
   std::optional<Field> find( const std::string &name );

   std::optional<std::string> text( const std::string &name, std::string_view expected );

   // Takes a JSON list of strings or one comma-separated string, under `name` or `name@`. An empty string, or
   // a list of just that, is an empty list, which is how a list without elements is stored; another empty
   // name is a complaint.
   std::optional<NameList> names( const std::string &name );

   // All fields that were not asked for, as the author wrote them. One that is neither a value nor a list of
   // values is a complaint: the row has a shape that is not understood.
   std::vector<AclField> others();

   void complain( const Place &place, std::string message );

   // Something in the row was complained about.
   bool spoilt() const { return spoilt_ || row_.spoilt; }

 private:
   std::optional<Field> findOne( std::initializer_list<std::string> names );
   std::vector<std::string> rawNames( const Field &field );

   const ConfigRow &row_;
   Subject subject_;
   Complaints &complaints_;
   std::vector<std::string> known_; // in lower case
   bool spoilt_ = false;
};

std::string lowerCase( std::string text );
std::string upperCase( std::string text );

} // namespace QuarraAcl
