#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

// The command itself, run as a user runs it.
namespace QuarraTest {

struct ToolRan {
   int code = 0; // what it exits with; -1 when it did not exit
   std::string printed;
   std::string complained; // on standard error
};

// A folder of its own that goes with the test, and runs of the command, from the folder of the sources.
class ToolTest : public ::testing::Test {
 protected:
   ToolTest();
   ~ToolTest() override;

   std::string file( const std::string &name ) const { return ( folder_ / name ).string(); }
   std::string write( const std::string &name, const std::string &text ) const;

   ToolRan run( const std::vector<std::string> &arguments, const std::string &input = "/dev/null" ) const;

   // Carries out a transcript: lines "$ ARGUMENTS", each with what it prints below, first on standard output,
   // then on standard error, and last "exit CODE" where the code is not 0. "@" stands for the folder, and a
   // line "..." for any number of lines.
   void expectTranscript( const std::string &transcript ) const;

 private:
   void expectRun( const std::string &line, const std::string &expected ) const;

   std::filesystem::path folder_;
};

} // namespace QuarraTest
