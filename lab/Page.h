// A page that shows a switch: one file for any browser, which needs no network. The page itself is lab/page/.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "lab/Why.h"

namespace QuarraLab {

// What the switch does not tell itself.
struct PageNotes {
   struct Refused {
      std::string rule;
      std::string code;
      std::string message;
      std::string text = {}; // as its author wrote it
   };
   std::vector<Refused> refused;
   std::map<U32, std::string> ruleTexts; // by entry: the rule as its author wrote it
};

// One state of the switch, as the page reads it. States of one page are of one chip: they share its ports.
JsonOut pageState( const Switch &theSwitch, const std::string &name, const PageNotes &notes );

// The document behind a page: one state, or the one before and the one after.
JsonOut pageDocument( const Switch &theSwitch, const std::string &title, std::vector<JsonOut> states );

// The page. Whatever the document's texts hold stays text.
std::string pageHtml( const JsonOut &document );

} // namespace QuarraLab
