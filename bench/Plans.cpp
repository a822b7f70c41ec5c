#include "bench/Plans.h"

#include <algorithm>
#include <chrono>
#include <filesystem>

#include <stdlib.h>

#include "lab/Plan.h"
#include "lab/SwitchDir.h"

namespace QuarraBench {
namespace {

using namespace QuarraLab;
using namespace QuarraTcam;
using Clock = std::chrono::steady_clock;

constexpr U32 portCount = 512;
constexpr U32 portSets = 20;
constexpr U32 newPortSets = 4; // of the rules that change

class Folder {
 public:
   Folder() {
      std::string name = ( std::filesystem::temp_directory_path() / "quarra-bench-XXXXXX" ).string();
      path_ = mkdtemp( name.data() ) ? name : throw std::runtime_error( "no temporary folder" );
   }
   Folder( const Folder & ) = delete;
   Folder &operator=( const Folder & ) = delete;
   ~Folder() { std::filesystem::remove_all( path_ ); }

   std::string switchDir() const { return path_ + "/switch"; }

 private:
   std::string path_;
};

ChipChoice choiceOf() {
   auto choice = defaultChoice( "sdk6" );
   choice.chip.ports.clear();
   for ( U32 port = 1; port <= portCount; ++port ) {
      choice.chip.ports.push_back( { "Port" + std::to_string( port ), QuarraModPort( 0, port ) } );
   }
   return choice;
}

std::unique_ptr<Switch> open( const std::string &path ) {
   return std::make_unique<Switch>( std::make_unique<SwitchDir>( path, choiceOf() ) );
}

std::vector<QuarraModPort> portsOf( U32 set ) {
   std::vector<QuarraModPort> ports;
   for ( U32 port = 1 + set; port <= portCount; port += 2 + set % 4 ) {
      ports.emplace_back( 0, port );
   }
   return ports;
}

WantedEntries wantedOf( U32 rules, bool changed ) {
   std::vector<std::vector<QuarraModPort>> sets;
   for ( U32 set = 0; set < portSets + newPortSets; ++set ) {
      sets.push_back( portsOf( set ) );
   }
   WantedEntries wanted;
   for ( U32 rule = 0; rule < rules; ++rule ) {
      const U32 set = changed && rule % 10 == 0 ? portSets + rule / 10 % newPortSets : rule % portSets;
      const auto label = "T|R" + std::to_string( rule );
      wanted.push_back( { .group = TcamGroupId( 13 ),
                          .ports = sets[ set ],
                          .rule = RuleId( FeatureGroupType::acl, label ),
                          .label = label } );
   }
   return wanted;
}

void carryOut( Switch &theSwitch, const Plan &plan ) {
   for ( const auto &step : plan.steps ) {
      if ( step.kind == PlanStep::Kind::install ) {
         theSwitch.agent().install( step.request );
      } else {
         theSwitch.agent().remove( step.request.group, step.request.entry );
      }
   }
}

template <typename Work>
double seconds( const Work &work ) {
   const auto start = Clock::now();
   work();
   return std::chrono::duration<double>( Clock::now() - start ).count();
}

double median( std::vector<double> values ) {
   std::sort( values.begin(), values.end() );
   return values[ values.size() / 2 ];
}

nlohmann::ordered_json measure( U32 rules, U32 rounds ) {
   const Folder folder;
   {
      auto plan = makePlan( std::make_unique<Switch>( choiceOf() ), wantedOf( rules, false ) );
      carryOut( *open( folder.switchDir() ), plan );
   }
   std::vector<double> planning;
   std::vector<double> applying;
   std::vector<double> ratios;
   std::size_t steps = 0;
   bool exact = true;
   for ( U32 round = 0; round < rounds; ++round ) {
      const auto wanted = wantedOf( rules, round % 2 == 0 );
      Plan plan;
      planning.push_back( seconds( [ & ] { plan = makePlan( open( folder.switchDir() ), wanted ); } ) );
      applying.push_back( seconds( [ & ] {
         const auto real = open( folder.switchDir() );
         carryOut( *real, plan );
         exact = exact && checkMatches( *real ).size() == plan.mismatches.size();
      } ) );
      exact = exact && stateDigest( *open( folder.switchDir() ) ) == plan.stateAfter;
      ratios.push_back( planning.back() / applying.back() );
      steps = plan.steps.size();
   }
   const auto [ least, most ] = std::minmax_element( ratios.begin(), ratios.end() );
   return { { "rules", rules },
            { "steps", steps },
            { "planSeconds", median( planning ) },
            { "applySeconds", median( applying ) },
            { "ratio", median( ratios ) },
            { "least", *least },
            { "most", *most },
            { "target", 1.0 },
            { "exact", exact } };
}

} // namespace

nlohmann::ordered_json plans() {
   auto result = nlohmann::ordered_json::array();
   for ( const auto &[ rules, rounds ] :
         { std::pair( 1000U, 15U ), std::pair( 10000U, 9U ), std::pair( 100000U, 3U ) } ) {
      result.push_back( measure( rules, rounds ) );
   }
   return result;
}

} // namespace QuarraBench
