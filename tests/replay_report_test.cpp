#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "apps/replay/report/base64.hpp"
#include "apps/replay/report/limits.hpp"
#include "apps/replay/report/page.hpp"
#include "motion/csv_reader.hpp"
#include "tests/replay_fixture.hpp"

namespace {

// RFC 4648, section 10.
TEST(Base64, TestVectors) {
  EXPECT_EQ(replay::base64("", 0), "");
  EXPECT_EQ(replay::base64("f", 1), "Zg==");
  EXPECT_EQ(replay::base64("fo", 2), "Zm8=");
  EXPECT_EQ(replay::base64("foo", 3), "Zm9v");
  EXPECT_EQ(replay::base64("\xFB\xEF\xFF", 3), "++//");
}

struct BadLimits {
  std::string text, fault;
};

// Everything a hand can get wrong is told with its place.
TEST_F(Replay, LimitsThatCannotBe) {
  const std::vector<std::string> joints = {"HeadYaw", "LKneePitch"};
  const auto read = [&](const std::string& text) {
    write("limits.csv", text);
    return replay::read_limits(folder_ / "limits.csv", joints);
  };
  const std::vector<replay::JointLimits> good =
      read("# rad, N m\ntorque;joint;low\n1.5;LKneePitch;-0.1\n");
  ASSERT_EQ(good.size(), 1U);
  EXPECT_EQ(good[0].joint, "LKneePitch");
  EXPECT_EQ(good[0].low, -0.1);
  EXPECT_EQ(good[0].high, std::nullopt);
  EXPECT_EQ(good[0].torque, 1.5);
  for (const auto& [text, fault] : std::vector<BadLimits>{
           {"low,high\n", "line 1: column \"joint\" is missing"},
           {"joint,torqe\n",
            "line 1, column 2: unknown column \"torqe\", did you mean \"torque\"?"},
           {"joint,low,low\n", "line 1, column 3: column \"low\" is there twice"},
           {"joint,low\nLKneePich,0\n",
            "line 2, column 1 (joint): unknown joint \"LKneePich\", did you mean \"LKneePitch\"?"},
           {"joint\nHeadYaw\nHeadYaw\n", "line 3, column 1 (joint): \"HeadYaw\" is there twice"},
           {"joint,low,high\nHeadYaw,1,x\n", "line 2, column 3 (high): \"x\" is not a number"},
           {"joint,low,high\nHeadYaw,1,0\n",
            "line 2, column 3 (high): the highest angle is below the lowest"},
           {"joint,torque\nHeadYaw,-1\n",
            "line 2, column 2 (torque): a limit of the torque's magnitude is not negative"}}) {
    try {
      read(text);
      ADD_FAILURE() << text;
    } catch (const tavo::motion::InputError& error) {
      EXPECT_EQ(error.what(), (folder_ / "limits.csv").string() + ", " + fault);
    }
  }
}

// The data ends nothing of the page that holds them, and an older page stays until the new one is
// whole.
TEST_F(Replay, PageIsTemplateAndData) {
  write("template.html", "<p>before</p><!--ORVEK23-REPORT-DATA--><p>after</p>");
  write("page.html", "old");
  {
    replay::ReportPage page(folder_ / "page.html", folder_ / "template.html");
    EXPECT_EQ(read("page.html"), "old");
    page.commit("{}");
  }
  EXPECT_EQ(read("page.html"),
            "<p>before</p><script type=\"application/json\" id=\"data\">{}</script><p>after</p>");
  write("template.html", "<p>another</p>");
  EXPECT_THROW(replay::ReportPage(folder_ / "page.html", folder_ / "template.html"),
               std::runtime_error);
  EXPECT_EQ(read("page.html").substr(0, 13), "<p>before</p>");
}

// What is wrong is said before a long run, and nothing is left or lost. The program is one without
// a template: a copy in a folder of its own.
TEST_F(Replay, ReportsThatCannotBe) {
#ifdef ORVEK23_EMULATED
  GTEST_SKIP() << "what is called is a script, and its copy calls the same program";
#endif
  fs::create_directory(folder_ / "bin");
  fs::copy(REPLAY_PROGRAM, folder_ / "bin/replay");
  write("motion.csv", text(first_rows(3)));
  const std::string program = "LD_LIBRARY_PATH='" + fs::path(KTMATH_PATH).parent_path().string() +
                              "' bin/replay --plugin \"$plugin\" motion.csv ";
  const auto fault = [&](const std::string& arguments) {
    EXPECT_EQ(shell(program + arguments + " >out 2>err"), 1) << arguments;
    return read("err");
  };
  EXPECT_NE(fault("--report page.html").find("--report needs it, the page's template: install"),
            std::string::npos)
      << read("err");
  EXPECT_EQ(fault("--report page.pdf"),
            "orvek23-replay: page.pdf: a report's name ends in .html\n");
  EXPECT_EQ(fault("--limits l.csv"), "orvek23-replay: --limits requires --report\n");
  fs::copy(folder_ / "motion.csv", folder_ / "motion.html");
  EXPECT_EQ(shell(program + "motion.html --report motion.html >out 2>err"), 1);
  EXPECT_EQ(files(), (std::vector<std::string>{"bin", "err", "motion.csv", "motion.html", "out"}));
  EXPECT_EQ(read("motion.html"), read("motion.csv"));
}

}  // namespace
