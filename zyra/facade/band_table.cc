#include "zyra/facade/band_table.h"

#include <cmath>

#include "zyra/support/errors.h"

namespace zyra {

BandTable::BandTable(std::vector<double> daFrequency) : frequencies_(std::move(daFrequency)) {}

void BandTable::Add(std::string sName, std::string sUnit, std::vector<double> daValues) {
  if (daValues.size() != frequencies_.size()) RaiseError(kErrInvalidCall);
  for (Column& column : columns_) {
    if (column.sName == sName) {
      column = {std::move(sName), std::move(sUnit), std::move(daValues)};
      return;
    }
  }
  columns_.push_back({std::move(sName), std::move(sUnit), std::move(daValues)});
}

std::vector<std::string> BandTable::Names() const {
  std::vector<std::string> names;
  names.reserve(columns_.size());
  for (const Column& column : columns_) names.push_back(column.sName);
  return names;
}

bool BandTable::Has(std::string_view sName) const {
  for (const Column& column : columns_) {
    if (column.sName == sName) return true;
  }
  return false;
}

const BandTable::Column& BandTable::Find(std::string_view sName) const {
  for (const Column& column : columns_) {
    if (column.sName == sName) return column;
  }
  RaiseError(kErrInvalidCall);
}

const std::vector<double>& BandTable::Values(std::string_view sName) const {
  return Find(sName).values;
}

const std::string& BandTable::Unit(std::string_view sName) const {
  return Find(sName).sUnit;
}

int32_t BandTable::BandAt(double dHz) const {
  // Nominal centres differ from the exact ones by up to 3 %; a sixth of an octave is 12 %.
  constexpr double kHalfThirdOctave = 1.0 / 6.0;
  int32_t iNearest = -1;
  double dNearest = kHalfThirdOctave;
  for (std::size_t i = 0; dHz > 0.0 && i < frequencies_.size(); ++i) {
    const double dDistance = std::abs(std::log2(dHz / frequencies_[i]));
    if (dDistance < dNearest) {
      dNearest = dDistance;
      iNearest = static_cast<int32_t>(i);
    }
  }
  if (iNearest < 0) RaiseError(kErrSubscript);
  return iNearest;
}

double BandTable::At(std::string_view sName, double dHz) const {
  return Values(sName)[static_cast<std::size_t>(BandAt(dHz))];
}

}  // namespace zyra
