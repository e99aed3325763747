#include "apps/replay/plot/sheet.hpp"

#include <algorithm>

#include "apps/replay/plot/gnuplot.hpp"

namespace replay {
namespace {

constexpr double sheet_width = 900, sheet_title = 34;
constexpr double left = 84, right = left + Sheet::panel_width, legend = right + 14;
constexpr double panel_title = 30, axis_marks = 24, axis_title = 24, foot = 4;

// Where on the sheet, for gnuplot. The height H of the sheet is not known before its last panel.
std::string across(double x) {
  return " screen " + std::to_string(x / sheet_width);
}
std::string down(double y) {
  return " screen 1-" + std::to_string(y) + "/H";
}

std::string tics(const Axis& axis) {
  std::ostringstream text;
  text.precision(15);
  for (const Mark& mark : axis.marks) {
    text << (text.str().empty() ? "(" : ", ") << gnuplot_quoted(mark.text) << " " << mark.at;
  }
  return axis.marks.empty() ? "()" : text.str() + ")";
}

}  // namespace

Sheet::Sheet() : bottom_(sheet_title) {
  body_.precision(15);  // times may count from 1970
}

void Sheet::begin_panel(const std::string& title, double height, const Axis& x, const Axis& y) {
  const double top = bottom_ + panel_title;
  const double bottom = top + height;
  double widest = 0;
  for (const Mark& mark : y.marks) widest = std::max(widest, text_width(mark.text));
  body_ << "\nset lmargin at" << across(left) << "\nset rmargin at" << across(right)
        << "\nset tmargin at" << down(top) << "\nset bmargin at" << down(bottom) << "\nset key at"
        << across(legend) << "," << down(top) << "\nset label 1 " << gnuplot_quoted(title) << " at"
        << across(left) << "," << down(top - 11) << " left\nset label 2 '" << x.title
        << "' at graph 0.5," << down(bottom + axis_marks + 15) << " center\nset label 3 '"
        << y.title << "' at" << across(std::max(12.0, left - widest - 25))
        << ", graph 0.5 center rotate\nset xrange [" << x.range.low << ":" << x.range.high
        << "]\nset yrange [" << y.range.low << ":" << y.range.high << "]\nset xtics " << tics(x)
        << "\nset ytics " << tics(y) << "\n";
  bottom_ = bottom + axis_marks + (x.title.empty() ? 0 : axis_title);
}

std::string Sheet::finished(const std::string& title, PictureFormat format) const {
  const double height = bottom_ + foot;
  std::ostringstream script;
  script << terminal(format, height) << "H = " << height << ".\nset multiplot title "
         << gnuplot_quoted(title) << " noenhanced font ',16'\n"
         << R"(set key left top Left reverse samplen 2 spacing 1.15
set tics nomirror out scale 0.5
set border 3 lc rgb '#606060'
set grid lc rgb '#e4e4e4' lt 1 lw 0.6
set xzeroaxis lc rgb '#909090' lt 1 lw 0.8
)" << body_.str()
         << "\nunset multiplot\n";
  return script.str();
}

std::string Sheet::terminal(PictureFormat format, double height) {
  std::ostringstream lines;
  lines << "set encoding utf8\n";
  if (format == PictureFormat::svg) {
    lines << "set terminal svg size " << sheet_width << "," << height << " font 'sans-serif,12.5'";
  } else {
    lines << "set terminal pngcairo size " << 2 * sheet_width << "," << 2 * height
          << " font 'sans-serif,9.5' fontscale 2 linewidth 2 pointscale 2 dashlength 2";
  }
  lines << " background rgb 'white'\n";
  return lines.str();
}

}  // namespace replay
