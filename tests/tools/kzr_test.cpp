#include <gtest/gtest.h>

#include "support/run_program.h"
#include "support/scratch_directory.h"

namespace {

using strings = std::vector<std::string>;

program_result run_kzr(strings arguments) {
  arguments.insert(arguments.begin(), KZR_PROGRAM);
  return run_program(arguments, scratch_directory().path());
}

TEST(kzr, shows_help_and_version) {
  const strings program = {"Usage: kzr [", "\n  dump      Tell", "\n  help      Show"};
  const strings dump = {"Usage: kzr dump [", "[RUN]", "--records", "Exit status: 0 for a sound run"};
  struct {
    strings arguments;
    strings texts;
  } const cases[] = {
      {{"help"}, program},         {{"--help"}, program},
      {{"-h"}, program},           {{"help", "dump"}, dump},
      {{"dump", "--help"}, dump},  {{"help", "help"}, {"Usage: kzr help ["}},
      {{"--version"}, {"kzr 1."}}, {{"dump", "--version"}, {"kzr 1."}},
  };
  for (const auto& [arguments, texts] : cases) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    const program_result result = run_kzr(arguments);
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.err, "");
    for (const std::string& text : texts) EXPECT_NE(result.out.find(text), std::string::npos) << text;
  }
}

TEST(kzr, refuses_what_it_does_not_know) {
  const std::string no_command = "kzr: there is no command ";
  const std::string no_option = "kzr: there is no option ";
  struct {
    strings arguments;
    std::string message;
  } const cases[] = {
      {{}, "Shows what is"},
      {{"--", "dump"}, "Shows what is"},
      {{"dumpp"}, no_command + R"("dumpp"; did you mean "dump"?)"},
      {{"ump", "run"}, no_command + R"("ump"; did you mean "dump"?)"},
      {{"hlep", "--json"}, no_command + R"("hlep"; did you mean "help"?)"},
      {{"drum"}, no_command + "\"drum\"\n"},  // two slips in four letters
      {{""}, no_command + "\"\"\n"},
      {{"\x1b[31m"}, no_command + "\"\\x1b[31m\"\n"},
      {{"help", "dmup"}, no_command + R"("dmup"; did you mean "dump"?)"},
      {{"help", "dump", "x"}, "kzr: one argument too many: \"x\"\n"},
      {{"dump", "x", "dump"}, "kzr: one argument too many: \"dump\"\n"},
      {{"dump", "x", "--", "dump"}, "kzr: one argument too many: \"dump\"\n"},
      {{"dump", "--recrod=1"}, no_option + R"("--recrod"; did you mean "--records"?)"},
      {{"dump", "--records", "--from", "2x"},
       "kzr: --from: \"2x\" is no whole number from 0 to 18446744073709551615\n"},
      {{"dump", "--records", "--producer", "2147483648"},
       "kzr: --producer: \"2147483648\" is no whole number from 0 to 2147483647\n"},
      {{"dump", "--records", "--kind", "taskbegin"},
       "kzr: --kind: \"taskbegin\" is no kind of record; it takes a number from 0 to 17 or a name such as "
       "task_begin; did you mean \"task_begin\"?\n"},
      {{"record", "--reprt", "x"}, no_option + R"("--reprt"; did you mean "--report"?)"},
      {{"record", "--reprt", "--", "true"}, no_option + R"("--reprt"; did you mean "--report"?)"},
      {{"--json", "record", "--", "true"}, no_option + "\"--json\"\n"},
      {{"--json", "dump"}, no_option + "\"--json\"\n"},
      {{"dump", "--records", "--from", "2", "--to", "1"}, "kzr: --from: 2 is later than --to 1\n"},
      {{"report", "--from", "2", "--to", "1"}, "kzr: --from: 2 is later than --to 1\n"},
  };
  for (const auto& [arguments, message] : cases) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    const program_result result = run_kzr(arguments);
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.substr(0, message.size()), message) << result.err;
  }
}

TEST(kzr, fails_when_its_output_is_lost) {
  for (const std::string arguments : {"--version", "--help", "help", "help dump"}) {
    SCOPED_TRACE(arguments);
    const program_result result = run_program({"/bin/sh", "-c", KZR_PROGRAM " " + arguments + " >/dev/full"},
                                              scratch_directory().path());
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.err, "kzr: the output could not be written\n");
  }
}

}  // namespace
