#include "apps/replay/plot/plot.hpp"

#include <algorithm>
#include <cctype>
#include <sstream>
#include <stdexcept>

#include "apps/replay/plot/gnuplot.hpp"
#include "apps/replay/plot/space_panels.hpp"
#include "apps/replay/plot/torque_panels.hpp"
#include "motion/messages.hpp"

namespace replay {
namespace motion = tavo::motion;
namespace {

// Also makes sure, before a long run, that gnuplot is there and can write the format.
PictureFormat usable_format(const std::filesystem::path& path) {
  std::string extension = path.extension().string();
  for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (extension != ".svg" && extension != ".png") {
    throw std::runtime_error(path.string() + ": a picture's name ends in .svg or .png");
  }
  const PictureFormat format = extension == ".svg" ? PictureFormat::svg : PictureFormat::png;
  run_gnuplot(Sheet::terminal(format, 100));
  return format;
}

// A file may have any bytes in its name, a picture only characters.
std::string readable(const std::string& name) {
  std::string text = motion::quoted(name);
  try {
    std::filesystem::path(text).u32string();
  } catch (const std::filesystem::filesystem_error&) {  // not UTF-8
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < 0; }, '?');
  }
  return text;
}

// gnuplot does not notice when it can write a part only.
bool is_complete(const std::string& picture, PictureFormat format) {
  return picture.find(format == PictureFormat::svg ? "</svg>" : "IEND") != std::string::npos;
}

std::string title(const std::string& motion, const MotionTrace& trace) {
  std::ostringstream text;
  text << "Motion " << readable(motion) << ": " << trace.samples();
  if (trace.samples() == 1) {
    text << " sample";
  } else {
    text << " samples over " << trace.last_time() - trace.first_time() << " s";
  }
  return text.str();
}

}  // namespace

Plot::Plot(const std::filesystem::path& path, const tavo::RigidBodySystem& system,
           const std::vector<unsigned long>& wrench_bodies)
    : format_(usable_format(path)), file_(path), trace_(system, wrench_bodies) {}

void Plot::commit(const std::string& motion) {
  Sheet sheet;
  add_space_panels(sheet, trace_);
  add_torque_panels(sheet, trace_);
  const std::string picture = run_gnuplot(sheet.finished(title(motion, trace_), format_));
  if (!is_complete(picture, format_)) {
    throw std::runtime_error("gnuplot: the picture is incomplete");
  }
  file_.write(picture);
  file_.commit();
}

}  // namespace replay
