// What is wrong with a configuration: all of it, each with its place and with what is left out for it.
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "lab/JsonText.h"
#include "lab/TextFile.h"

namespace QuarraAcl {

using namespace QuarraLab;

// Where something stands: "ACL_RULE|DATAACL|RULE_1.PRIORITY" of a file. The file's name outlives the place.
struct Place {
   const std::string *file = nullptr;
   std::string path; // empty: the file as a whole

   Place operator+( std::string_view more ) const { return { file, path + std::string( more ) }; }
};

struct AclComplaint {
   std::string file;
   std::string place;   // in the file; empty: the file as a whole
   std::string message; // what was expected, and what is there
   std::string
      table;         // left out with all its rules, unless `rule` is given; empty: neither a table nor a rule
   std::string rule; // only this rule of the table is left out
   bool fatal = false;   // nothing is left that could be used
   std::size_t line = 0; // of a syntax error, with its column; otherwise 0
   std::size_t column = 0;

   std::string text() const; // "FILE: PLACE: message" or "FILE:LINE:COLUMN: message", on one line
};

// The rule or table that a complaint is about.
struct Subject {
   std::string table = {};
   std::string rule = {};
};

// Complaints as they come up.
class Complaints {
 public:
   void add( const Place &place, std::string message, const Subject &subject = {} );
   void addFatal( const Place &place, std::string message );
   void addFatal( const Place &place, const Complaint &complaint ); // of the JSON text

   std::size_t number() const { return all_.size(); }
   bool anyFatal() const { return anyFatal_; }

   // Something about the rule, or without one about the table itself.
   bool anyAbout( const std::string &table, const std::string &rule = "" ) const {
      return !subjects_.empty() && subjects_.contains( { table, rule } );
   }
   std::vector<AclComplaint> take() { return std::move( all_ ); }

 private:
   std::vector<AclComplaint> all_;
   std::set<std::pair<std::string, std::string>> subjects_; // table and rule
   bool anyFatal_ = false;
};

// One line each; behind the first `most`, one line tells how many more there are.
std::vector<std::string> complaintLines( const std::vector<AclComplaint> &complaints,
                                         std::size_t most = 100 );

// Thrown for a configuration that is not taken as it is. what() is the first complaint and tells how many
// there are.
class AclRefused : public InputError {
 public:
   explicit AclRefused( std::vector<AclComplaint> complaints );
   const std::vector<AclComplaint> &complaints() const { return complaints_; }

 private:
   std::vector<AclComplaint> complaints_;
};

} // namespace QuarraAcl
