// The receiver rows as text, streamed row by row: a table for people, CSV, one JSON array, or
// JSON lines (one object per line, the form that concatenates).
#ifndef ZYRA_TOOLS_ROW_WRITER_H_
#define ZYRA_TOOLS_ROW_WRITER_H_

#include <iosfwd>
#include <string>

#include "tools/receiver_columns.h"
#include "tools/receiver_row.h"
#include "tools/row_kinds.h"

namespace zyra::tool {

// Writes the header (table, CSV) or the opening bracket (JSON) on the first row or at End(),
// then each row as it comes, flushed, so that a reader sees rows while the rest are evaluated.
//  - CSV: the columns of the schema in order; texts quoted where they need it; a value that
//    does not exist is an empty cell. Numbers read back to the same double.
//  - JSON, JSON lines: one object per row with the columns as keys, in order; a value that does
//    not exist, a missing label or rating and an empty message are null.
//  - Table: the values rounded for reading, "-" where none; the label, then the numbers, the
//    rating, the file and the message (the status shows as "error:" or "warning:" there).
// bHeader false leaves out the header of the table and CSV, for shards that are concatenated.
class RowWriter {
 public:
  RowWriter(std::ostream& out, const RowSchema& schema, RowFormat eFormat, bool bHeader = true);

  void Write(const ReceiverRow& row);
  // Ends the output (the closing bracket of JSON); the header when no row came.
  void End();

  // The CSV field for a text: as it is, or quoted with inner quotes doubled when it holds a
  // comma, a quote, a line break or a blank at either end.
  static std::string CsvField(const std::string& sText);
  // A number in the shortest text that reads back to the same double.
  static std::string NumberText(double value);

 private:
  void Start();
  void WriteTable(const ReceiverRow& row);
  void WriteCsv(const ReceiverRow& row);
  void WriteJson(const ReceiverRow& row);

  std::ostream& out_;
  const RowSchema& schema_;
  RowFormat eFormat_;
  bool bHeader_;
  bool bStarted_ = false;
  bool bFirstRow_ = true;
};

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_ROW_WRITER_H_
