#include <chrono>
#include <csignal>
#include <host/loader.hpp>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "apps/replay/driver.hpp"
#include "apps/replay/progress.hpp"
#include "motion/csv_reader.hpp"
#include "motion/motion_file.hpp"
#include "tests/replay_fixture.hpp"

namespace {

// Columns of the results, of which the first is named, as numbers.
std::vector<float> numbers(const Table& rows, std::size_t row, const std::string& first,
                           std::size_t count) {
  std::vector<float> values;
  for (std::size_t i = 0, c = column(rows, first); i < count; ++i) {
    values.push_back(std::stof(rows[row].at(c + i)));
  }
  return values;
}

// Each signal against what a host sees at the same sample; the matrices by their names'
// systematics.
TEST_F(Replay, SignalsAreWhatAHostSees) {
  const Table got = results(text(first_rows(60)),
                            "--signals partial-com:LKneePitch,jacobian,torque,pose,mass-matrix,com,"
                            "partial-com:HeadYaw --bodies RKneePitch");
  const tavo::Plugin plugin(PLUGIN_PATH);
  const tavo::Plugin::System system = plugin.create();
  tavo::motion::MotionFile motion((folder_ / "motion.csv").string(),
                                  tavo::motion::names_of(*system));
  tavo::motion::StateStream states([&motion] { return motion.next(); });
  replay::Driver driver(*system, motion.wrench_bodies(), {});
  for (int i = 0; i < 60; ++i) driver.run(*states.next());
  system->computeGeneralizedMass();

  for (const std::string body : {"LKneePitch", "HeadYaw"}) {
    const auto com = system->computePartialComPositionInRoot(system->getBodyId(body));
    EXPECT_EQ(numbers(got, 60, "partial-com:" + body + ".x", 3),
              (std::vector<float>{com.x, com.y, com.z}));
  }
  const auto torques = system->getJointAnglesTorque();
  EXPECT_EQ(numbers(got, 60, "torque.HeadYaw", 22),
            std::vector<float>(torques.first, torques.second));
  const auto& pose = system->getPose(system->getBodyId("RKneePitch"));
  EXPECT_EQ(numbers(got, 60, "RKneePitch.x", 3),
            (std::vector<float>{pose.m[3], pose.m[7], pose.m[11]}));

  const std::vector<std::string> coordinates = tavo::motion::names_of(*system).coordinates();
  const std::vector<std::string> motion_rows = {"wx", "wy", "wz", "vx", "vy", "vz"};
  const auto entry = [&got](const std::string& name) {
    return std::stof(got[60][column(got, name)]);
  };
  for (int j = 0; j < 28; ++j) {
    for (int i = 0; i < 28; ++i) {
      EXPECT_EQ(entry("H." + coordinates[i] + "." + coordinates[j]),
                system->getGeneralizedMass()(i, j));
    }
    for (int i = 0; i < 6; ++i) {
      EXPECT_EQ(entry("J." + motion_rows[i] + "." + coordinates[j]),
                system->getJacobianInRoot()(i, j));
    }
  }
  const std::vector<std::string> order = {
      "time",  "partial-com:LKneePitch.x", "J.wx.vx", "torque.HeadYaw", "RKneePitch.x", "H.vx.vx",
      "com.x", "partial-com:HeadYaw.x"};
  for (std::size_t i = 1; i < order.size(); ++i) {
    EXPECT_LT(column(got, order[i - 1]), column(got, order[i])) << order[i];
  }
  EXPECT_EQ(got[0].size(), 1U + 3 + 168 + 22 + 7 + 785 + 3 + 3);
  EXPECT_EQ(results(text(first_rows(2)), "--signals pose --bodies all")[0].size(), 1U + 23 * 7);
}

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

TEST(Progress, IsShownFromTheThirdSecondAndErased) {
  using namespace std::chrono_literals;
  std::ostringstream terminal;
  replay::Progress::Clock::time_point now;
  const auto shown = [&](auto&& steps) {
    terminal.str("");
    {
      replay::Progress progress(&terminal, [&now] { return now; });
      steps(progress);
    }
    return terminal.str();
  };
  EXPECT_EQ(shown([&](auto& progress) {
              now += 1999ms;
              progress.show(9, 0.5);
            }),
            "");
  EXPECT_EQ(shown([&](auto& progress) {
              now += 2s;
              progress.show(99, 0.299);
              now += 199ms;
              progress.show(100, 0.3);
              now += 1ms;
              progress.show(101, 0.31);
            }),
            "\r99 samples, 29 %\r101 samples, 31 %\r                 \r");
  EXPECT_EQ(shown([&](auto& progress) {
              now += 2s;
              progress.show(1000, std::nullopt);
            }),
            "\r1000 samples\r            \r");
}

// The share that is shown must be that of the file's bytes.
TEST(Progress, ShareIsOfTheFilesBytes) {
  tavo::motion::CsvReader csv(WALK_CSV);
  EXPECT_NEAR(csv.share_read().value_or(-1), 0.002, 0.001);
  std::vector<double> row;
  for (int k = 0; k < 400; ++k) ASSERT_TRUE(csv.next(row));
  EXPECT_NEAR(csv.share_read().value_or(-1), 0.5, 0.1);
  while (csv.next(row)) {
  }
  EXPECT_EQ(csv.share_read(), 1.0);
}

TEST_F(Replay, HelpFitsAScreen) {
  EXPECT_EQ(run("--help"), 0);
  std::istringstream help(read("out"));
  std::size_t lines = 0;
  for (std::string line; std::getline(help, line); ++lines) EXPECT_LE(line.size(), 80U) << line;
  EXPECT_LE(lines, 30U);
  EXPECT_EQ(read("out").find("Runs a motion"), 0U) << "what it does comes first";
  EXPECT_NE(read("out").find("\n\nExamples:\n"), std::string::npos);
  EXPECT_EQ(read("out").find("-o walk.csv"), std::string::npos) << "would replace a motion";
}

// A file that is replaced stays readable to whom it was.
TEST_F(Replay, ReplacedFilesKeepTheirMode) {
  write("motion.csv", text(first_rows(3)));
  for (const auto mode : {fs::perms{0600}, fs::perms{0664}}) {
    write("results.csv", "older results");
    fs::permissions(folder_ / "results.csv", mode);
    fs::create_symlink("results.csv", folder_ / "link.csv");
    EXPECT_EQ(run("motion.csv -o link.csv"), 0) << read("err");
    EXPECT_EQ(fs::status(folder_ / "results.csv").permissions(), mode);
    EXPECT_TRUE(fs::is_symlink(folder_ / "link.csv"));
    EXPECT_EQ(table(read("results.csv")).size(), 4U);
    fs::remove(folder_ / "link.csv");
  }
}

TEST_F(Replay, ListsMayHaveBlanks) {
  write("motion.csv", text(first_rows(3)));
  EXPECT_EQ(run("motion.csv -o a.csv --signals 'torque, pose ,com' --bodies ' Torso, HeadYaw'"), 0);
  EXPECT_EQ(run("motion.csv -o b.csv --signals torque,pose,com --bodies Torso,HeadYaw"), 0);
  EXPECT_EQ(read("a.csv"), read("b.csv"));
}

}  // namespace
