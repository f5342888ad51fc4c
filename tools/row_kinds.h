// The choices of the receiver rows: their text form and which per-band columns they carry.
#ifndef ZYRA_TOOLS_ROW_KINDS_H_
#define ZYRA_TOOLS_ROW_KINDS_H_

namespace zyra::tool {

// A table for people, one JSON array, JSON lines (one object per line) or CSV.
enum class RowFormat { kTable, kJson, kJsonLines, kCsv };

// Which per-band columns follow the single numbers: none, octaves or third-octave bands.
enum class RowBands { kNone, kOctave, kThird };

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_ROW_KINDS_H_
