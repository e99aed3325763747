#include "apps/replay/plot/margin_panel.hpp"

#include <algorithm>
#include <cmath>
#include <ostream>

#include "apps/replay/plot/colours.hpp"
#include "apps/replay/plot/series.hpp"

namespace replay {

void add_margin_panel(Sheet& sheet, const MotionTrace& trace) {
  constexpr double height = 90, lowest = -0.1;  // px, m: a fall is not measured here
  const std::vector<ValueRange>& margins = trace.margins();
  if (std::all_of(margins.begin(), margins.end(),
                  [](const ValueRange& range) { return std::isnan(range.values[0].low.value); })) {
    return;
  }
  Interval shown = reach(margins, 0);
  shown.low = std::max(shown.low, lowest);
  shown = resized(shown, std::max(1.16 * shown.length(), 0.002));
  Axis time = time_axis(trace);
  time.title.clear();
  sheet.begin_panel("Margin: the zero-moment point inside the support polygon", height, time,
                    round_axis("margin", "m", shown, height, Direction::up));
  std::ostream& out = sheet.script();
  out << "$margin << EOD\n";
  write_series(out, margins, 0);
  out << "EOD\nplot $margin" << (margins.size() == 1 ? " with points pt 7" : " with lines lw 1.1")
      << " lc rgb " << green << " title 'margin'\n";
}

}  // namespace replay
