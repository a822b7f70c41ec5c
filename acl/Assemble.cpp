#include "acl/Assemble.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <utility>

#include <fmt/format.h>

#include "acl/SwitchPorts.h"

namespace QuarraAcl {
namespace {

using Names = std::vector<std::string>;
using SharedNames = std::shared_ptr<const Names>;

constexpr const char *boundToNoPort = "bound to no port";
constexpr const char *withoutPorts = "control-plane table without ports";
constexpr const char *otherStage = "egress table";

// What a table or rule covers once some of its ports are gone: the ports by name, or their number where they
// are many.
std::string coverText( const Names &ports ) {
   constexpr std::size_t namedAtMost = 4;
   if ( ports.empty() ) {
      return "covers no port";
   }
   return ports.size() > namedAtMost ? fmt::format( "covers {} ports only", ports.size() )
                                     : fmt::format( "covers {} only", joinNames( ports ) );
}

// What the first says otherwise than the second, "" when they agree.
std::string difference( const std::string &here, const std::string &there ) {
   return here == there ? "" : fmt::format( "\"{}\" here, \"{}\" there", here, there );
}

// Names that only the first list has; their order and "" say nothing.
Names onlyIn( const Names &list, const Names &other ) {
   std::set<std::string, NaturalLess> names( list.begin(), list.end() );
   names.erase( "" );
   std::ranges::for_each( other, [ & ]( const std::string &name ) { names.erase( name ); } );
   return { names.begin(), names.end() };
}

std::string someOf( Names names ) {
   constexpr std::size_t most = 8;
   const std::size_t more = names.size() > most ? names.size() - most : 0;
   if ( more ) {
      names.resize( most );
      names.push_back( fmt::format( "{} more", more ) );
   }
   return joinNames( names );
}

std::string difference( const NameList &here, const NameList &there ) {
   const Names added = onlyIn( here.names, there.names );
   const Names missing = onlyIn( there.names, here.names );
   const std::string first = added.empty() ? "" : someOf( added ) + " only here";
   const std::string second = missing.empty() ? "" : someOf( missing ) + " only there";
   return first + ( first.empty() || second.empty() ? "" : ", " ) + second;
}

std::string emptyGroupsText( const Names &groups ) {
   return fmt::format( "{} {} no members", joinNames( groups ), groups.size() == 1 ? "has" : "have" );
}

class Assembler {
 public:
   Assembler( const Draft &draft, const std::string &file, Complaints &complaints )
      : draft_( draft ), file_( file ), complaints_( complaints ), ports_( draft, file, complaints ) {}

   AclConfig assemble();

 private:
   struct Table {
      DraftTable draft;
      std::size_t index = none; // in config_.tables
      SharedNames ports = {};   // of rules that name none
   };
   static constexpr std::size_t none = ~std::size_t( 0 );

   void checkName( const char *what, const std::string &name, const Place &place, const Subject &subject );
   void checkNames();
   void merge( const DraftTable &more );
   void addTable( Table &table );
   void addRule( const DraftRule &draft );
   void warnCoverage( const Place &place, const AclTable &table, const PortSelection &selection );
   SharedNames narrow( const DraftRule &rule, const Table &table );
   void warn( const Place &place, const std::string &sentence );
   void warnRepeated( const Place &place, const PortSelection &selection );
   bool severalFiles() const { return file_.find( ", " ) != std::string::npos; }

   const Draft &draft_;
   const std::string &file_;
   Complaints &complaints_;
   AclConfig config_;
   SwitchPorts ports_;
   std::map<std::string, Table, NaturalLess> tables_;                       // by name
   std::map<std::pair<std::string, std::string>, const DraftRule *> rules_; // by table and name
};

AclConfig Assembler::assemble() {
   if ( !draft_.listsTables && !complaints_.anyFatal() ) {
      complaints_.addFatal( { &file_, "" }, "expected a table ACL_TABLE" );
   }
   config_.file = file_;
   config_.ports.assign( ports_.physical().begin(), ports_.physical().end() );
   if ( !draft_.listsPorts ) {
      warn(
         { &file_, draft_.isConfigDb ? "PORT" : "" },
         fmt::format( "{}, so the chip has only the ports that ACL tables and port channels name, {} in all",
                      draft_.isConfigDb ? "the file has no such table" : "no file lists the switch's ports",
                      config_.ports.size() ) );
   }
   for ( const auto &[ place, sentence ] : ports_.sharedMembers() ) {
      warn( place, sentence );
   }
   for ( const auto &[ place, sentence ] : draft_.warnings ) {
      warn( place, sentence );
   }
   checkNames();
   for ( const DraftTable &table : draft_.tables ) {
      merge( table );
   }
   for ( auto &[ name, table ] : tables_ ) {
      addTable( table );
   }
   for ( const DraftRule &rule : draft_.rules ) {
      addRule( rule );
   }
   for ( AclTable &table : config_.tables ) {
      std::erase_if( table.rules, [ this ]( const AclRule &rule ) {
         return complaints_.anyAbout( rule.table, rule.name );
      } );
      std::ranges::sort( table.rules, []( const AclRule &left, const AclRule &right ) {
         return left.priority != right.priority ? left.priority > right.priority
                                                : NaturalLess()( left.name, right.name );
      } );
   }
   return std::move( config_ );
}

// A name goes with every entry of its rule, into messages, the store and the page.
void Assembler::checkName( const char *what, const std::string &name, const Place &place,
                           const Subject &subject ) {
   constexpr std::size_t most = 1024;
   if ( name.size() > most ) {
      complaints_.add(
         place, fmt::format( "the name of a {} has at most {} bytes, this one {}", what, most, name.size() ),
         subject );
   }
}

void Assembler::checkNames() {
   for ( const auto &port : draft_.ports ) {
      checkName( "port", port.name, port.place, {} );
   }
   for ( const auto &table : draft_.tables ) {
      checkName( "table", table.name, table.place, { table.name, "" } );
   }
   for ( const auto &rule : draft_.rules ) {
      checkName( "rule", rule.name, rule.place, { rule.table, rule.name } );
   }
}

// A table may stand in several files, each with a part of it. What two of them say must agree.
void Assembler::merge( const DraftTable &more ) {
   const auto [ found, isNew ] = tables_.try_emplace( more.name, Table{ more } );
   if ( isNew ) {
      return;
   }
   DraftTable &table = found->second.draft;
   if ( table.place.file == more.place.file && table.defined && more.defined ) {
      complaints_.add( more.place, "there is another ACL of this name", { more.name, "" } );
      return;
   }
   const auto take = [ & ]( auto &mine, const auto &other, const char *what ) {
      if ( !mine ) {
         mine = other;
      } else if ( const auto text = other ? difference( *other, *mine ) : ""; !text.empty() ) {
         complaints_.add( more.place,
                          fmt::format( "the {} is not what {} says: {}", what, *table.place.file, text ),
                          { more.name, "" } );
      }
   };
   if ( table.typeIsDerived != more.typeIsDerived && table.type != more.type ) {
      table.type = table.typeIsDerived && more.type ? more.type : table.type;
   } else {
      take( table.type, more.type, "type" );
   }
   take( table.stage, more.stage, "stage" );
   take( table.ports, more.ports, "list of ports" );
   table.fields.insert( table.fields.end(), more.fields.begin(), more.fields.end() );
   table.typeIsDerived = table.typeIsDerived && more.typeIsDerived;
   table.defined = table.defined || more.defined;
   table.ordersByPlace = table.ordersByPlace || more.ordersByPlace;
}

void Assembler::addTable( Table &table ) {
   const DraftTable &draft = table.draft;
   const NameList list = draft.ports.value_or( NameList{ draft.place, {} } );
   const PortSelection selection = ports_.select( list, { draft.name, "" } );
   if ( !draft.defined ) {
      complaints_.add( list.places.empty() ? draft.place : list.places.front(),
                       fmt::format( "no file has the ACL \"{}\" that is bound here", draft.name ),
                       { draft.name, "" } );
   }
   if ( complaints_.anyAbout( draft.name ) ) {
      return;
   }
   AclTable made{ draft.name, draft.type.value_or( "OTHER" ), selection.ports, {}, {} };
   made.stage = draft.stage.value_or( made.stage );
   made.ordersByPlace = draft.ordersByPlace;
   made.fields = draft.fields;
   if ( made.stage != "ingress" ) {
      made.leftOut = otherStage;
   } else if ( made.ports.empty() ) {
      made.leftOut = list.names.empty() && made.type == "CTRLPLANE" ? withoutPorts : boundToNoPort;
   }
   warnRepeated( list.place, selection );
   warnCoverage( draft.place, made, selection );
   table.index = config_.tables.size();
   table.ports = std::make_shared<Names>( made.leftOut.empty() ? made.ports : Names() );
   config_.tables.push_back( std::move( made ) );
}

void Assembler::warnCoverage( const Place &place, const AclTable &table, const PortSelection &selection ) {
   const std::string cover = table.ports.empty() ? "is bound to no port" : coverText( table.ports );
   if ( !selection.emptyGroups.empty() ) {
      warn( place, fmt::format( "{}, so the table {}", emptyGroupsText( selection.emptyGroups ), cover ) );
   } else if ( table.leftOut == boundToNoPort ) {
      warn( place, "the table " + cover );
   }
}

// The rules of a table that is left out with a complaint go with it, without one of their own.
void Assembler::addRule( const DraftRule &draft ) {
   const Subject subject = { draft.table, draft.name };
   const auto found = tables_.find( draft.table );
   if ( found == tables_.end() ) {
      if ( draft_.listsTables ) {
         complaints_.add( draft.place, fmt::format( "table \"{}\" is not in ACL_TABLE", draft.table ),
                          subject );
      }
      return;
   }
   const auto [ first, isNew ] = rules_.try_emplace( { draft.table, draft.name }, &draft );
   if ( !isNew ) {
      const std::string &file = *first->second->place.file;
      complaints_.add( draft.place,
                       &file == draft.place.file ? "there is another rule of this name"
                                                 : fmt::format( "the rule is in {}, too", file ),
                       subject );
      return;
   }
   const Table &table = found->second;
   const SharedNames ports = draft.inPorts ? narrow( draft, table ) : table.ports;
   if ( table.index != none ) {
      config_.tables[ table.index ].rules.push_back(
         { draft.name, draft.table, draft.priority, ports, draft.fields } );
   }
}

// The ports of the table that the rule names. In a table that is left out, the list is only checked.
SharedNames Assembler::narrow( const DraftRule &rule, const Table &table ) {
   const NameList &list = *rule.inPorts;
   const PortSelection selection = ports_.select( list, { rule.table, rule.name } );
   if ( complaints_.anyAbout( rule.table, rule.name ) || table.index == none ||
        !config_.tables[ table.index ].leftOut.empty() ) {
      return table.ports;
   }
   Names kept;
   Names dropped;
   for ( const std::string &port : selection.ports ) {
      const bool bound = std::ranges::binary_search( *table.ports, port, NaturalLess() );
      ( bound ? kept : dropped ).push_back( port );
   }
   warnRepeated( list.place, selection );
   const std::string outcome = ", so the rule " + coverText( kept );
   if ( !dropped.empty() ) {
      warn( list.place, "the table is not bound to " + joinNames( dropped ) + outcome );
   }
   if ( !selection.emptyGroups.empty() ) {
      warn( list.place, emptyGroupsText( selection.emptyGroups ) + outcome );
   }
   return std::make_shared<Names>( std::move( kept ) );
}

void Assembler::warn( const Place &place, const std::string &sentence ) {
   const std::string file = severalFiles() && place.file != &file_ ? *place.file + ": " : "";
   const std::string where = place.path.empty() ? "" : place.path + ": ";
   config_.warnings.push_back( oneLine( file + where + sentence ) );
}

void Assembler::warnRepeated( const Place &place, const PortSelection &selection ) {
   if ( !selection.repeated.empty() ) {
      const char *counts = selection.repeated.size() == 1 ? "is named more than once and counts once"
                                                          : "are named more than once and count once";
      warn( place, fmt::format( "{} {}", joinNames( selection.repeated ), counts ) );
   }
}

} // namespace

AclConfig assemble( const Draft &draft, const std::string &file, Complaints &complaints ) {
   return Assembler( draft, file, complaints ).assemble();
}

} // namespace QuarraAcl
