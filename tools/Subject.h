#pragma once

#include <memory>

#include <CLI/CLI.hpp>

#include "lab/Page.h"
#include "tools/Apply.h"
#include "tools/Options.h"
#include "tools/RuleTexts.h"

namespace QuarraTool {

// What a question is asked of: a switch that lasts, or one in memory that holds what configurations say.
struct SubjectOptions {
   std::vector<std::string> files;
   std::vector<std::string> map; // "TYPE=GROUP"
   bool bindings = false;
   std::vector<AclText> texts;       // the files' own, where they were read already
   bool onlySwitchOfProcess = true;  // no other one is asked by this command
   std::optional<ChipChoice> choice; // what the configurations are applied on, unless the options say it
   bool tellsRules = false;          // beside --switch, the configurations tell what its rules say

   // Adds --config, --map and --bindings.
   void addTo( CLI::App &app );
};

class Subject {
 public:
   // Opens the switch of --switch, where a configuration at most tells what its rules say; or applies the
   // configurations on an empty one, and tells tables that are left out and rules that do not fit on standard
   // error.
   Subject( const GlobalOptions &global, const SubjectOptions &options );

   const Switch &theSwitch() const { return lasting_ ? *lasting_ : applied_->theSwitch(); }
   const std::string &title() const { return title_; }
   PageNotes notes() const; // what each entry's rule says, and what was refused

   // Adds "variant" and "chip" to a document.
   void describe( JsonOut &json ) const;

 private:
   std::string title_;
   std::unique_ptr<Switch> lasting_;
   RuleFields fields_;                // of its rules, as far as configurations tell
   std::unique_ptr<Applied> applied_; // otherwise
};

// One entry of the whole table's ports for each table that has no rules.
void addBindings( AclConfig &config );

// What the page of an applied configuration tells beside its switch.
PageNotes notesOf( const Applied &applied );

// Writes the page of a switch. Throws OutputError when it cannot be written; there is no half a file then.
void writePage( const std::string &file, const Switch &theSwitch, const std::string &title,
                const PageNotes &notes );

} // namespace QuarraTool
