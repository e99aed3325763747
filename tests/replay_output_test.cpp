#include <csignal>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/replay_fixture.hpp"

namespace {

// The motion comes and the results go through pipes as through files.
TEST_F(Replay, StandardStreamsTakeThePlaceOfFiles) {
  results(text(first_rows(60)));
  const std::string summary = read("out");
  EXPECT_EQ(shell("cat motion.csv | replay - -o - 2>err | cat >piped.csv"), 0);
  EXPECT_EQ(read("piped.csv"), read("results.csv"));
  const auto samples = [](const std::string& text) {
    return text.substr(text.find("samples"), 30);
  };
  EXPECT_EQ(samples(read("err")), samples(summary));
  EXPECT_NE(read("err").find("motion          standard input\n"), std::string::npos);
  EXPECT_NE(read("err").find("results         standard output\n"), std::string::npos);

  // A reader that goes early: the results do not fit into the pipe.
  std::signal(SIGPIPE, SIG_DFL);
  write("walk.csv", text(walk()));
  EXPECT_EQ(shell("{ replay walk.csv -o - 2>err; echo $? >status; } | head -1 >out"), 0);
  EXPECT_EQ(read("status"), "141\n");  // SIGPIPE
  EXPECT_EQ(read("err"), "");
  EXPECT_EQ(shell("trap '' PIPE; { replay walk.csv -o - 2>err; echo $? >status; } | head -1 >out"),
            0);
  EXPECT_EQ(read("status"), "1\n");
  EXPECT_EQ(read("err"), "orvek23-replay: standard output: cannot be written: Broken pipe\n");
}

// Also while it waits for the rest of the motion.
TEST_F(Replay, LeavesNothingWhenItIsInterrupted) {
  write("part.csv", text(first_rows(4)));
  const int status = shell(
      "mkfifo pipe && exec 3<>pipe && cat part.csv >&3 &&"
      "{ \"$program\" --plugin \"$plugin\" - -o results.csv <pipe & } &&"
      "until ls results.csv.tmp* >out 2>err; do sleep 0.01; done; kill -TERM $!; wait $! 2>err");
  EXPECT_EQ(status, 128 + 15);
  EXPECT_EQ(files(), (std::vector<std::string>{"err", "out", "part.csv", "pipe"}));
}

}  // namespace
