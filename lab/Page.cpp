#include "lab/Page.h"

#include <algorithm>

#include <fmt/format.h>

#include "lab/PageParts.h"
#include "lab/Usage.h"

namespace QuarraLab {

using namespace QuarraTcam;

namespace {

// The ports of the page: those of the chip, without the CPU's.
std::vector<QuarraModPort> pagePorts( const Switch &theSwitch ) {
   auto ports = theSwitch.ports();
   std::erase_if( ports, [ & ]( const auto &port ) { return theSwitch.isCpuPort( port ); } );
   return ports;
}

// Rising numbers as "0-3,7".
std::string runsText( const std::vector<U32> &rising ) {
   std::string text;
   for ( auto first = rising.begin(); first != rising.end(); ) {
      auto last = first;
      while ( std::next( last ) != rising.end() && *std::next( last ) == *last + 1 ) {
         ++last;
      }
      text += text.empty() ? "" : ",";
      text += first == last ? fmt::format( "{}", *first ) : fmt::format( "{}-{}", *first, *last );
      first = std::next( last );
   }
   return text;
}

// Port sets by number: most entries share one of a few.
class PortSets {
 public:
   explicit PortSets( const std::vector<QuarraModPort> &ports ) : ports_( ports ) {}

   template <typename Ports>
   std::size_t of( const Ports &rising ) {
      std::vector<U32> indexes;
      auto next = ports_.begin();
      for ( const auto &port : rising ) {
         next = std::lower_bound( next, ports_.end(), port );
         if ( next != ports_.end() && *next == port ) {
            indexes.push_back( static_cast<U32>( next - ports_.begin() ) );
         }
      }
      return numberOf( runsText( indexes ) );
   }

   std::size_t all() { return numberOf( ports_.empty() ? "" : fmt::format( "0-{}", ports_.size() - 1 ) ); }

   const JsonOut &texts() const { return texts_; }

 private:
   std::size_t numberOf( const std::string &text ) {
      const auto [ item, isNew ] = numbers_.emplace( text, texts_.size() );
      if ( isNew ) {
         texts_.push_back( text );
      }
      return item->second;
   }

   const std::vector<QuarraModPort> &ports_;
   std::map<std::string, std::size_t> numbers_;
   JsonOut texts_ = JsonOut::array();
};

JsonOut spacesJson( const Switch &theSwitch, const std::vector<QuarraModPort> &ports, const Usage &usage ) {
   auto spaces = JsonOut::array();
   for ( const auto &item : usage.spaces ) {
      auto values = JsonOut::array();
      for ( const auto &port : ports ) {
         values.push_back( runsText( carriedValue( theSwitch, item.space, port ).setBits() ) );
      }
      const auto &bitmap = *theSwitch.agent().manager().classIdHwStatus( item.space.type );
      spaces.push_back( { { "name", stringValue( item.space.type ) },
                          { "size", item.space.size },
                          { "first", item.space.firstBit },
                          { "taken", bitmap.setBits() },
                          { "longestFree", item.largestFreeRun },
                          { "values", std::move( values ) } } );
   }
   return spaces;
}

// The lists of one state that point into each other by number.
class StateLists {
 public:
   StateLists( const Switch &theSwitch, const std::vector<QuarraModPort> &ports )
      : switch_( theSwitch ), sets_( ports ) {
      addPoolsAndClassIds();
   }

   void addEntries( const PageNotes &notes ) {
      for ( const auto &[ id, entry ] : switch_.agent().entries() ) {
         auto asked = entry.request.ports;
         std::ranges::sort( asked );
         const auto text = notes.ruleTexts.find( id );
         numbers_.emplace( id, entries_.size() );
         entries_.push_back( { id, ruleOf( entry.request ), classIdOf( entry ),
                               entry.request.ethernet ? sets_.all() : sets_.of( asked ),
                               matchedBy( id, entry.request.group ),
                               text == notes.ruleTexts.end() ? "" : text->second } );
      }
   }

   // Ports of one entry and one reason together.
   void addMismatches() {
      std::map<std::pair<U32, std::string>, std::vector<QuarraModPort>> byReason;
      for ( const auto &mismatch : checkMatches( switch_ ) ) {
         byReason[ { mismatch.entry, reasonText( switch_.agent().variant(), mismatch ) } ].push_back(
            mismatch.port );
      }
      std::map<std::string, std::size_t> reasons;
      for ( const auto &[ key, ports ] : byReason ) {
         const auto reason = reasons.emplace( key.second, reasons.size() );
         if ( reason.second ) {
            reasons_.push_back( key.second );
         }
         mismatches_.push_back( { numbers_.at( key.first ), reason.first->second, sets_.of( ports ) } );
      }
   }

   void moveInto( JsonOut &state ) {
      state[ "sets" ] = sets_.texts();
      state[ "pools" ] = std::move( pools_ );
      state[ "classIds" ] = std::move( classIds_ );
      state[ "entries" ] = std::move( entries_ );
      state[ "reasons" ] = std::move( reasons_ );
      state[ "mismatches" ] = std::move( mismatches_ );
   }

 private:
   void addPoolsAndClassIds() {
      std::map<const PoolStatus *, std::size_t> poolNumbers;
      const auto spaces = spacesOf( switch_ );
      for ( std::size_t space = 0; space < spaces.size(); ++space ) {
         for ( const auto &[ group, pool ] : poolsOf( switch_, spaces[ space ].type ) ) {
            poolNumbers.emplace( pool, pools_.size() );
            pools_.push_back( { group.value(), space, pool->poolId(), pool->baseOffset(), pool->size() } );
         }
      }
      for ( const auto &holder : holdersOf( switch_ ) ) {
         const auto &request = *holder.request;
         const auto &ports = *request.intfGroup();
         classIdNumbers_.emplace( &request, classIds_.size() );
         classIds_.push_back(
            { poolNumbers.at( holder.pool ), request.classId(),
              request.entryRefHas( INVALID_ENTRY_ID ) ? request.requestKey().name() : std::string(),
              ports.ethernet() ? sets_.all() : sets_.of( ports.portId() ) } );
      }
   }

   // Entries of one group that carry the same qualifier match the same ports; most share one of a few.
   std::size_t matchedBy( U32 id, TcamGroupId group ) {
      const auto &onChip = switch_.chip().tcamEntries().at( id );
      const auto [ item, isNew ] = matched_.emplace(
         std::tuple( group, onChip.dataBits, onChip.maskBits, onChip.data, onChip.mask ), 0 );
      if ( isNew ) {
         item->second = sets_.of( matchedPorts( switch_, id ) );
      }
      return item->second;
   }

   std::size_t classIdOf( const QuarraAgent::Entry &entry ) const {
      const auto &status = switch_.agent().manager().classIdTcamGroupStatus( entry.request.group );
      return classIdNumbers_.at( status->requestStatus( entry.key ).get() );
   }

   const Switch &switch_;
   PortSets sets_;
   std::map<const ClassIdRequestStatus *, std::size_t> classIdNumbers_;
   std::map<U32, std::size_t> numbers_; // of entries, by id
   std::map<std::tuple<TcamGroupId, std::vector<U32>, std::vector<U32>, U32, U32>, std::size_t> matched_;
   JsonOut pools_ = JsonOut::array();
   JsonOut classIds_ = JsonOut::array();
   JsonOut entries_ = JsonOut::array();
   JsonOut reasons_ = JsonOut::array();
   JsonOut mismatches_ = JsonOut::array();
};

void replace( std::string &text, std::string_view mark, std::string_view with ) {
   text.replace( text.find( mark ), mark.size(), with );
}

// JSON inside of a script element: a "<" could end the element or begin a comment.
std::string embedded( const JsonOut &document ) {
   const auto text = document.dump( -1, ' ', false, JsonOut::error_handler_t::replace );
   std::string escaped;
   escaped.reserve( text.size() );
   for ( const char c : text ) {
      if ( c == '<' ) {
         escaped += "\\u003c";
      } else {
         escaped += c;
      }
   }
   return escaped;
}

} // namespace

JsonOut pageState( const Switch &theSwitch, const std::string &name, const PageNotes &notes ) {
   const auto ports = pagePorts( theSwitch );
   StateLists lists( theSwitch, ports );
   lists.addEntries( notes );
   lists.addMismatches();
   auto refused = JsonOut::array();
   for ( const auto &item : notes.refused ) {
      refused.push_back( { item.rule, item.code, item.message, item.text } );
   }
   JsonOut state = { { "name", name }, { "spaces", spacesJson( theSwitch, ports, usageOf( theSwitch ) ) } };
   lists.moveInto( state );
   state[ "refused" ] = std::move( refused );
   return state;
}

JsonOut pageDocument( const Switch &theSwitch, const std::string &title, std::vector<JsonOut> states ) {
   const PortNames names( theSwitch );
   auto ports = JsonOut::array();
   for ( const auto &port : pagePorts( theSwitch ) ) {
      ports.push_back( { names.name( port ), port.port() } );
   }
   const auto subtitle = fmt::format( "variant {}, chip {}, {} ports", theSwitch.agent().variant().name,
                                      theSwitch.agent().chip().profile, ports.size() );
   return { { "version", 1 },
            { "title", title },
            { "subtitle", subtitle },
            { "ports", std::move( ports ) },
            { "states", std::move( states ) } };
}

std::string pageHtml( const JsonOut &document ) {
   std::string page( PageParts::html );
   std::string script;
   for ( const auto part : PageParts::scripts ) {
      script += part;
   }
   // The data last, since it may hold a mark.
   replace( page, "@CSS@", PageParts::style );
   replace( page, "@JS@", script );
   replace( page, "@DATA@", embedded( document ) );
   return page;
}

} // namespace QuarraLab
