#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "bench/Allocations.h"
#include "bench/Figures.h"
#include "bench/Growth.h"
#include "bench/Peers.h"
#include "bench/Plans.h"
#include "bench/StoreFigures.h"

// bench [--json]              the figures, each as the ratio of its two sides
// bench --count SIDE N        N operations of one side ("P1/operation", "P1/floor") and nothing else, for a
//                             tool that counts instructions
// bench --allocations SIDE    how many allocations 1,000 operations of a side make
// bench --list                the figures' ids, for such a tool
// bench --peers               JSON: rows and chip writes of class IDs and of the two other ways
// bench --growth              JSON: times of an entry with ever more entries and requests
// bench --restarts            JSON: times of a restart with ever more entries
// bench --match-check         JSON: times of the match check with ever more entries
// bench --plan JSON: P11, plan of a change against carrying it out; exit code 1 when it is missed
namespace QuarraBench {
namespace {

constexpr int repetitions = 15;

// Times of each repetition, by side.
class Times : public benchmark::BenchmarkReporter {
 public:
   bool ReportContext( const Context & ) override { return true; }
   void ReportRuns( const std::vector<Run> &runs ) override {
      for ( const auto &run : runs ) {
         if ( run.run_type == Run::RT_Iteration ) {
            const auto name = run.run_name.function_name;
            byName[ name ].push_back( run.cpu_accumulated_time / static_cast<double>( run.iterations ) );
         }
      }
   }

   std::map<std::string, std::vector<double>> byName;
};

double median( std::vector<double> values ) {
   std::sort( values.begin(), values.end() );
   return values[ values.size() / 2 ];
}

// Each side sets up its scene when its turn comes: there is one simulated chip at a time.
void registerSide( const std::string &name, const std::function<Operation()> &setUp ) {
   benchmark::RegisterBenchmark( name.c_str(),
                                 [ setUp ]( benchmark::State &state ) {
                                    const auto operation = setUp();
                                    for ( auto _ : state ) {
                                       operation();
                                    }
                                 } )
      ->Repetitions( repetitions )
      ->MinTime( 0.02 );
}

int measure( bool json ) {
   auto measured = figures();
   measured.insert( measured.end(), storeFigures().begin(), storeFigures().end() );
   for ( const auto &figure : measured ) {
      registerSide( figure.id + "/operation", figure.operation );
      registerSide( figure.id + "/floor", figure.floor );
   }
   Times times;
   benchmark::RunSpecifiedBenchmarks( &times );
   auto result = nlohmann::ordered_json::array();
   bool allMet = true;
   const auto row = [ & ]( const std::string &id, const std::string &what, double ratio, double low,
                           double high, double target ) {
      const bool met = ratio <= target;
      allMet = allMet && met;
      result.push_back( { { "figure", id },
                          { "what", what },
                          { "ratio", ratio },
                          { "least", low },
                          { "most", high },
                          { "target", target },
                          { "met", met } } );
   };
   for ( const auto &figure : measured ) {
      const auto &operation = times.byName.at( figure.id + "/operation" );
      const auto &floor = times.byName.at( figure.id + "/floor" );
      std::vector<double> ratios;
      for ( std::size_t i = 0; i < operation.size(); ++i ) {
         ratios.push_back( operation[ i ] / floor[ i ] );
      }
      const auto [ low, high ] = std::minmax_element( ratios.begin(), ratios.end() );
      row( figure.id, figure.what, median( ratios ), *low, *high, figure.target );
      result.back()[ "nanoseconds" ] = median( operation ) * 1e9;
      result.back()[ "floorNanoseconds" ] = median( floor ) * 1e9;
   }
   const auto writes = static_cast<double>( chipWritesOfEqualGroups() );
   row( "P8", "chip writes of joining and reprogramming an equal group", writes, writes, writes, 0 );
   const auto calls = static_cast<double>( sdkCallsOfRestart() );
   row( "P9", "SDK calls of a restart with 10,000 entries", calls, calls, calls, 0 );
   if ( json ) {
      std::cout << result.dump( 3 ) << "\n";
   } else {
      for ( const auto &line : result ) {
         std::cout << fmt::format(
            "{:<3}  {:6.2f}  {:5.2f}-{:5.2f}  <= {:<5} {:7}  {}\n", line[ "figure" ].get<std::string>(),
            line[ "ratio" ].get<double>(), line[ "least" ].get<double>(), line[ "most" ].get<double>(),
            line[ "target" ].get<double>(), line[ "met" ].get<bool>() ? "met" : "NOT MET",
            line[ "what" ].get<std::string>() );
      }
   }
   return allMet ? EXIT_SUCCESS : EXIT_FAILURE;
}

Operation sideOf( const std::string &side ) {
   for ( const auto &figure : figures() ) {
      for ( const auto &[ name, setUp ] : { std::pair( figure.id + "/operation", figure.operation ),
                                            std::pair( figure.id + "/floor", figure.floor ) } ) {
         if ( name == side ) {
            return setUp();
         }
      }
   }
   std::cerr << "bench: no side " << side << "\n";
   std::exit( 2 );
}

void repeat( const Operation &operation, long operations ) {
   for ( long i = 0; i < operations; ++i ) {
      operation();
   }
}

} // namespace
} // namespace QuarraBench

int main( int argc, char **argv ) {
   using namespace QuarraBench;
   if ( argc == 4 && std::strcmp( argv[ 1 ], "--count" ) == 0 ) {
      repeat( sideOf( argv[ 2 ] ), std::atol( argv[ 3 ] ) );
      return EXIT_SUCCESS;
   }
   if ( argc == 3 && std::strcmp( argv[ 1 ], "--allocations" ) == 0 ) {
      const auto operation = sideOf( argv[ 2 ] );
      repeat( operation, 1000 ); // grows what grows once
      const auto before = allocations();
      repeat( operation, 1000 );
      std::cout << allocations() - before << "\n";
      return EXIT_SUCCESS;
   }
   if ( argc == 2 && std::strcmp( argv[ 1 ], "--list" ) == 0 ) {
      for ( const auto &figure : figures() ) {
         std::cout << figure.id << " " << figure.target << " " << figure.what << "\n";
      }
      return EXIT_SUCCESS;
   }
   if ( argc == 2 && std::strcmp( argv[ 1 ], "--peers" ) == 0 ) {
      std::cout << peers().dump( 1 ) << "\n";
      return EXIT_SUCCESS;
   }
   if ( argc == 2 && std::strcmp( argv[ 1 ], "--growth" ) == 0 ) {
      std::cout << growth().dump( 1 ) << "\n";
      return EXIT_SUCCESS;
   }
   if ( argc == 2 && std::strcmp( argv[ 1 ], "--restarts" ) == 0 ) {
      std::cout << restarts().dump( 1 ) << "\n";
      return EXIT_SUCCESS;
   }
   if ( argc == 2 && std::strcmp( argv[ 1 ], "--match-check" ) == 0 ) {
      std::cout << growthOfMatchCheck().dump( 1 ) << "\n";
      return EXIT_SUCCESS;
   }
   if ( argc == 2 && std::strcmp( argv[ 1 ], "--plan" ) == 0 ) {
      const auto result = plans();
      std::cout << result.dump( 1 ) << "\n";
      return std::ranges::all_of( result,
                                  []( const auto &row ) {
                                     return row[ "exact" ].template get<bool>() &&
                                            row[ "ratio" ] <= row[ "target" ];
                                  } )
                ? EXIT_SUCCESS
                : EXIT_FAILURE;
   }
   // The repetitions of the two sides take turns.
   char interleaving[] = "--benchmark_enable_random_interleaving=true";
   char *arguments[] = { argv[ 0 ], interleaving, nullptr };
   int argumentCount = 2;
   benchmark::Initialize( &argumentCount, arguments );
   return measure( argc == 2 && std::strcmp( argv[ 1 ], "--json" ) == 0 );
}
