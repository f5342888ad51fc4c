// Values per frequency band as plain columns: one array per parameter, its unit, the bands'
// nominal centre frequencies, and lookup by frequency in Hz.
#ifndef ZYRA_FACADE_BAND_TABLE_H_
#define ZYRA_FACADE_BAND_TABLE_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zyra {

// Every column holds one value per band, in the order of Frequencies(); a value that does not
// exist is NaN.
class BandTable {
 public:
  BandTable() = default;
  // Bands at these nominal centre frequencies (Hz), ascending.
  explicit BandTable(std::vector<double> daFrequency);

  // Adds or replaces a column. A column whose length is not the band count is error 5.
  void Add(std::string sName, std::string sUnit, std::vector<double> daValues);

  int32_t Count() const { return static_cast<int32_t>(frequencies_.size()); }
  const std::vector<double>& Frequencies() const { return frequencies_; }
  std::vector<std::string> Names() const;
  bool Has(std::string_view sName) const;
  // The column's values; a name without a column is error 5.
  const std::vector<double>& Values(std::string_view sName) const;
  // "dB", "s", "ms", "%", or "" for a fraction or an energy on the pulses' scale.
  const std::string& Unit(std::string_view sName) const;

  // The band (0 ... Count − 1) whose nominal centre lies nearest to dHz, within a sixth of an
  // octave (1000 and 1012 find 1 kHz; 1400 finds nothing among octaves). None is error 9.
  int32_t BandAt(double dHz) const;
  // Values(sName) at BandAt(dHz).
  double At(std::string_view sName, double dHz) const;

 private:
  struct Column {
    std::string sName;
    std::string sUnit;
    std::vector<double> values;
  };
  const Column& Find(std::string_view sName) const;

  std::vector<double> frequencies_;
  std::vector<Column> columns_;
};

}  // namespace zyra

#endif  // ZYRA_FACADE_BAND_TABLE_H_
