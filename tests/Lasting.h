#pragma once

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Nodra/Text.h"
#include "Vesk/UniqueId.h"
#include "agent/AgentStore.h"
#include "agent/ChipState.h"
#include "agent/Shadow.h"
#include "lab/ChipFile.h"
#include "lab/Switch.h"
#include "soak/Operations.h"
#include "tests/StateText.h"

namespace QuarraTest {

using namespace QuarraAgent;
using QuarraCentral::QuarraModPort;

// The end of a process, as far as a test can have it: nothing that was going on goes on.
struct Death {};

// A chip that outlives agents, and can let the process die before a call.
class MortalChip : public QuarraSimulator::SimulatedChip {
 public:
   using SimulatedChip::SimulatedChip;

   void preCall() override {
      if ( onCall ) {
         onCall();
      }
      if ( callsToLive && !--callsToLive ) {
         throw Death();
      }
   }

   U64 callsToLive = 0; // 0: lives on
   std::function<void()> onCall;
};

// Calls of the SDK that write to the chip. Of the logical-table functions, commits that are no look-ups.
inline U64 writes( const QuarraSimulator::SimulatedChip &chip ) {
   U64 number = 0;
   U64 words = 0;
   for ( const auto &[ function, calls ] : chip.callCounts() ) {
      number += function.starts_with( "bcmlt_entry_" ) ? 0 : calls;
      words = function == "portTableSet" ? calls : words;
   }
   return chip.callCounts().contains( "bcmlt_entry_commit" ) ? number + chip.portWrites() - words : number;
}

// A directory of its own that goes with the test.
class Directory {
 public:
   Directory() {
      std::string name = ( std::filesystem::temp_directory_path() / "quarraXXXXXX" ).string();
      EXPECT_TRUE( mkdtemp( name.data() ) );
      path_ = name;
   }
   Directory( const Directory & ) = delete;
   Directory &operator=( const Directory & ) = delete;
   ~Directory() { std::filesystem::remove_all( path_ ); }

   std::string file( const std::string &name ) const { return ( path_ / name ).string(); }

 private:
   std::filesystem::path path_;
};

// A chip with an agent that keeps its state in a store, and whose process can end at any time.
class Lasting {
 public:
   explicit Lasting( const QuarraLab::ChipChoice &choice, bool stored = true ) : choice_( choice ) {
      chip_ = std::make_unique<MortalChip>( QuarraLab::chipOptions( *choice_.variant, choice_.chip ) );
      startAgent();
      if ( stored ) {
         store_ = std::make_unique<AgentStore>( *agent_, storePath(), options() );
      }
   }

   std::string storePath() const { return directory_.file( "store.db" ); }
   StoreOptions options() {
      return { .hook = [ this ]( const char * ) {
         if ( commitStepsToLive && !--commitStepsToLive ) {
            throw Death();
         }
         if ( fullAtCommitStep && !--fullAtCommitStep ) {
            throw StoreRefused( "storeFailed", "no space left" );
         }
      } };
   }

   void die() {
      store_.reset();
      agent_.reset();
      chip_->callsToLive = 0;
      commitStepsToLive = 0;
      // A process takes its handles with it.
      for ( const auto &handle : chip_->liveHandleTexts() ) {
         bcmlt_entry_free( static_cast<U32>( std::stoul( handle ) ) );
      }
   }
   Restarted start() {
      startAgent();
      store_ = std::make_unique<AgentStore>( *agent_, Store::open( storePath(), options() ) );
      return store_->restarted();
   }
   Restarted restart() {
      die();
      return start();
   }

   // Agent, library and chip, all that a caller can see of them.
   std::string state() const {
      Nodra::Text text;
      text << stateText( agent_->manager(), *chip_ ) << "keys " << Vesk::UniqueId::latest() << "\n";
      for ( const auto &[ id, entry ] : agent_->entries() ) {
         text << "entry " << id << " group " << entry.request.group << " key " << entry.key << " label "
              << entry.request.label << " ethernet " << entry.request.ethernet << " rule "
              << entry.request.rule.value_or( QuarraTcam::RuleId() ) << " ports";
         for ( const auto &port : entry.request.ports ) {
            text << " " << port;
         }
         text << "\n";
      }
      for ( const auto &[ key, value ] : agent_->manager().sourceTrunkMapConfig()->request() ) {
         text << "word " << key.packed() << " " << value << "\n";
      }
      for ( const auto &[ bit, intfGroup ] : agent_->manager().programmedBit() ) {
         text << "bit " << bit << " " << *intfGroup << "\n";
      }
      if ( const auto *const shadow = agent_->variant().shadow ) {
         for ( const auto &[ port, bits ] : shadow->values( *agent_->manager().portsHelper() ) ) {
            text << "shadow " << port << " " << bits->hex() << " of " << bits->size() << "\n";
         }
      }
      return text.string();
   }

   TcamAgent &agent() { return *agent_; }
   MortalChip &chip() { return *chip_; }
   const QuarraLab::ChipChoice &choice() const { return choice_; }
   AgentStore &store() { return *store_; }

   // Each commit has two steps, before and after it. At the one so many from now the process dies, or the
   // disk is full.
   U64 commitStepsToLive = 0;
   U64 fullAtCommitStep = 0;

 private:
   void startAgent() {
      forgetEarlierAgents();
      agent_ = std::make_unique<TcamAgent>( *choice_.variant, choice_.chip,
                                            QuarraTcam::quarraTcamPortsManagerFactory( "manager" ) );
      QuarraLab::showAclGroupsOf( *choice_.variant, agent_->manager().portsHelper(), *chip_ );
   }

   Directory directory_;
   QuarraLab::ChipChoice choice_;
   std::unique_ptr<MortalChip> chip_;
   std::unique_ptr<TcamAgent> agent_;
   std::unique_ptr<AgentStore> store_;
};

// A history on a chip, as the soak makes them up: all kinds of requests, those that are refused among them.
struct History {
   QuarraLab::ChipChoice choice;
   std::vector<QuarraSoak::Operation> operations;
};
History makeHistory( const std::string &variant, U64 seed, U32 length );

// Carries an operation out; gives the answer as text.
std::string carryOut( TcamAgent &agent, const QuarraSoak::Operation &operation );

} // namespace QuarraTest
