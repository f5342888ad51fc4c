// A seating area of the demo hall: rows of seats on a regular grid, one receiver each.
#ifndef ZYRA_TOOLS_SEAT_GRID_H_
#define ZYRA_TOOLS_SEAT_GRID_H_

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/demo_response.h"

namespace zyra::tool {

// The stalls of the demo hall: x from 10 to 36 m (rows, away from the stage), y from 3 to 22 m
// (seats, across), ears at 1.2 m.
inline constexpr std::array<double, 4> kDefaultSeatingArea{10.0, 3.0, 36.0, 22.0};
inline constexpr double kEarHeight = 1.2;

struct Seat {
  int32_t iRow = 0;   // 1 ... nRows
  int32_t iSeat = 0;  // 1 ... nSeats
  std::array<double, 3> site{};
  std::string sLabel;     // "Seat R3 S7"
  std::string sFileName;  // "seat-r03-s07.rsp": names sort in row order
};

// nRows x nSeats seats spread evenly over `area` (x0, y0, x1, y1; one row or seat sits in the
// middle), row after row. No value and a problem when the area does not lie inside the hall
// (half a metre from every wall) or is empty.
std::optional<std::vector<Seat>> SeatGrid(const HallModel& hall, int32_t nRows, int32_t nSeats,
                                          const std::array<double, 4>& area, std::string& sProblem);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_SEAT_GRID_H_
