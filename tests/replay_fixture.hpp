#pragma once

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

/// A CSV file: its header and rows, cell by cell.
using Table = std::vector<std::vector<std::string>>;

inline std::string contents(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline Table table(const std::string& text) {
  Table rows;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream cells(line);
    rows.emplace_back();
    for (std::string cell; std::getline(cells, cell, ',');) rows.back().push_back(cell);
  }
  return rows;
}

inline std::string text(const Table& rows) {
  std::string result;
  for (const auto& row : rows) {
    for (const auto& cell : row) result += (&cell == &row.front() ? "" : ",") + cell;
    result += "\n";
  }
  return result;
}

inline std::size_t column(const Table& rows, const std::string& name) {
  const auto found = std::find(rows[0].begin(), rows[0].end(), name);
  EXPECT_NE(found, rows[0].end()) << name;
  return static_cast<std::size_t>(found - rows[0].begin());
}

inline double largest(const Table& rows, const std::string& name) {
  double result = 0;
  for (std::size_t i = 1, c = column(rows, name); i < rows.size(); ++i) {
    result = std::max(result, std::abs(std::stod(rows[i][c])));
  }
  return result;
}

inline const Table& walk() {
  static const Table rows = table(contents(WALK_CSV));
  return rows;
}

inline Table first_rows(std::size_t samples) {
  return {walk().begin(), walk().begin() + 1 + static_cast<std::ptrdiff_t>(samples)};
}

/// Runs the program in a folder of its own.
class Replay : public ::testing::Test {
 protected:
  Replay() {
    std::string pattern = ::testing::TempDir() + "replay_XXXXXX";
    folder_ = mkdtemp(pattern.data());
  }
  ~Replay() override { fs::remove_all(folder_); }

  void write(const std::string& name, const std::string& bytes) const {
    std::ofstream(folder_ / name, std::ios::binary) << bytes;
  }
  std::string read(const std::string& name) const { return contents(folder_ / name); }

  // Runs a shell script in which `replay` is the program, with its plug-in.
  int shell(const std::string& script, const std::string& plugin = PLUGIN_PATH) const {
    const std::string command =
        "cd '" + folder_.string() + "' && program='" REPLAY_PROGRAM "' && plugin='" + plugin +
        "' && replay() { \"$program\" --plugin \"$plugin\" \"$@\"; }; " + script;
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  int run(const std::string& arguments, const std::string& plugin = PLUGIN_PATH) const {
    return shell("{ replay " + arguments + "; } >out 2>err", plugin);
  }
  Table results(const std::string& motion, const std::string& options = "") const {
    write("motion.csv", motion);
    EXPECT_EQ(run("motion.csv -o results.csv " + options), 0) << read("err");
    return table(read("results.csv"));
  }
  std::vector<std::string> files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_))
      names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }

  fs::path folder_;
};
