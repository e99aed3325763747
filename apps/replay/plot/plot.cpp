#include "apps/replay/plot/plot.hpp"

#include <algorithm>
#include <cctype>
#include <sstream>
#include <stdexcept>

#include "apps/replay/plot/gnuplot.hpp"
#include "apps/replay/plot/margin_panel.hpp"
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
        text.begin(), text.end(), [](unsigned char c) { return c > 0x7f; }, '?');
  }
  return text;
}

// gnuplot does not notice when it can write a part only.
bool is_complete(const std::string& picture, PictureFormat format) {
  return picture.find(format == PictureFormat::svg ? "</svg>" : "IEND") != std::string::npos;
}

std::string escaped(const std::string& text) {
  std::string xml;
  for (const char c : text) {
    xml += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : std::string(1, c);
  }
  return xml;
}

// gnuplot puts its own name on the picture and a number on each curve that has no entry in the
// legend; browsers show both.
void set_titles(std::string& picture, const std::string& text) {
  const std::string begin = "<title>", end = "</title>";
  for (std::size_t at = 0; (at = picture.find(begin, at)) != std::string::npos; at += 1) {
    const std::size_t from = at + begin.size(), length = picture.find(end, from) - from;
    const std::string title = picture.substr(from, length);
    if (title == "Gnuplot") picture.replace(from, length, escaped(text));
    if (title.starts_with("gnuplot_plot")) picture.erase(at, begin.size() + length + end.size());
  }
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

Plot::Plot(const std::filesystem::path& path, ViewChoice view, const tavo::RigidBodySystem& system)
    : format_(usable_format(path)), view_(view), file_(path), trace_(system) {}

void Plot::commit(const std::string& motion) {
  Sheet sheet;
  add_space_panels(sheet, trace_, view_);
  add_margin_panel(sheet, trace_);
  add_torque_panels(sheet, trace_);
  const std::string heading = title(motion, trace_);
  std::string picture = run_gnuplot(sheet.finished(heading, format_));
  if (!is_complete(picture, format_)) {
    throw std::runtime_error("gnuplot: the picture is incomplete");
  }
  if (format_ == PictureFormat::svg) set_titles(picture, heading);
  file_.write(picture);
  file_.commit();
}

}  // namespace replay
