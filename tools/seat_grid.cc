#include "tools/seat_grid.h"

#include <cstdio>

namespace zyra::tool {
namespace {

constexpr double kWallDistance = 0.5;  // m, the least distance of a seat from a wall

double Spread(double from, double to, int32_t i, int32_t n) {
  return n == 1 ? (from + to) / 2.0 : from + (to - from) * (i - 1) / (n - 1);
}

std::string Numbered(int32_t value, int32_t largest) {
  const std::string text = std::to_string(value);
  return std::string(std::to_string(largest).size() - text.size(), '0') + text;
}

}  // namespace

std::optional<std::vector<Seat>> SeatGrid(const HallModel& hall, int32_t nRows, int32_t nSeats,
                                          const std::array<double, 4>& area,
                                          std::string& sProblem) {
  const auto [x0, y0, x1, y1] = area;
  const auto inside = [](double v, double size) {
    return v >= kWallDistance && v <= size - kWallDistance;
  };
  if (nRows < 1 || nSeats < 1) {
    sProblem = "a seating area needs at least one row and one seat";
    return std::nullopt;
  }
  if (!(inside(x0, hall.dLength) && inside(x1, hall.dLength) && inside(y0, hall.dWidth) &&
        inside(y1, hall.dWidth))) {
    char text[160];
    std::snprintf(text, sizeof text,
                  "the seating area must lie inside the %g x %g m hall, %g m from its walls",
                  hall.dLength, hall.dWidth, kWallDistance);
    sProblem = text;
    return std::nullopt;
  }
  std::vector<Seat> seats;
  seats.reserve(static_cast<std::size_t>(nRows) * static_cast<std::size_t>(nSeats));
  for (int32_t row = 1; row <= nRows; ++row) {
    for (int32_t seat = 1; seat <= nSeats; ++seat) {
      Seat s;
      s.iRow = row;
      s.iSeat = seat;
      s.site = {Spread(x0, x1, row, nRows), Spread(y0, y1, seat, nSeats), kEarHeight};
      s.sLabel = "Seat R" + std::to_string(row) + " S" + std::to_string(seat);
      s.sFileName = "seat-r" + Numbered(row, nRows) + "-s" + Numbered(seat, nSeats) + ".rsp";
      seats.push_back(std::move(s));
    }
  }
  return seats;
}

}  // namespace zyra::tool
