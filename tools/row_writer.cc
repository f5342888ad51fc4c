#include "tools/row_writer.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <ostream>

#include "tools/json_forms.h"

namespace zyra::tool {
namespace {

constexpr std::size_t kLabelWidth = 16;  // the label field of the probe block

std::size_t NumberWidth(const RowColumn& column) {
  return std::max<std::size_t>(column.sName.size(), 5);
}

std::string PadLeft(const std::string& sText, std::size_t width) {
  return sText.size() >= width ? sText : std::string(width - sText.size(), ' ') + sText;
}

// Characters, not bytes, so that a label with umlauts keeps the columns aligned.
std::size_t Utf8Length(const std::string& sText) {
  std::size_t n = 0;
  for (const char c : sText) n += (static_cast<unsigned char>(c) & 0xC0) != 0x80 ? 1 : 0;
  return n;
}

std::string PadRight(const std::string& sText, std::size_t width) {
  const std::size_t length = Utf8Length(sText);
  return length >= width ? sText : sText + std::string(width - length, ' ');
}

std::string Rounded(double value, int32_t iDecimals) {
  if (!std::isfinite(value)) return "-";
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", static_cast<int>(iDecimals), value);
  // No "-0.0": a value that rounds to zero shows as zero.
  std::string rounded = text;
  if (rounded[0] == '-' && rounded.find_first_not_of("-0.") == std::string::npos) {
    rounded.erase(0, 1);
  }
  return rounded;
}

std::string StatusNote(const ReceiverRow& row) {
  if (row.sMessage.empty()) return "";
  switch (row.eStatus) {
    case RowStatus::kOk:
      return "note: " + row.sMessage;
    case RowStatus::kWarning:
      return "warning: " + row.sMessage;
    case RowStatus::kError:
      break;
  }
  return "error: " + row.sMessage;
}

Json NumberJson(double value) {
  return std::isfinite(value) ? Json(value) : Json(nullptr);
}

}  // namespace

const char* RowStatusName(RowStatus eStatus) {
  switch (eStatus) {
    case RowStatus::kOk:
      return "ok";
    case RowStatus::kWarning:
      return "warning";
    case RowStatus::kError:
      break;
  }
  return "error";
}

RowWriter::RowWriter(std::ostream& out, const RowSchema& schema, RowFormat eFormat, bool bHeader)
    : out_(out), schema_(schema), eFormat_(eFormat), bHeader_(bHeader) {}

std::string RowWriter::CsvField(const std::string& sText) {
  const bool bQuote = sText.find_first_of(",\"\r\n") != std::string::npos ||
                      (!sText.empty() && (sText.front() == ' ' || sText.back() == ' '));
  if (!bQuote) return sText;
  std::string quoted = "\"";
  for (const char c : sText) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + "\"";
}

std::string RowWriter::NumberText(double value) {
  if (!std::isfinite(value)) return "";
  char text[32];
  const auto written = std::to_chars(text, text + sizeof text, value);
  return std::string(text, written.ptr);
}

void RowWriter::Start() {
  if (bStarted_) return;
  bStarted_ = true;
  if (eFormat_ == RowFormat::kJson) {
    out_ << "[";
    return;
  }
  if (!bHeader_ || eFormat_ == RowFormat::kJsonLines) return;
  std::string line;
  if (eFormat_ == RowFormat::kCsv) {
    for (const RowColumn& column : schema_.Columns()) {
      line += (line.empty() ? "" : ",") + CsvField(column.sName);
    }
  } else {
    line = PadRight("label", kLabelWidth);
    for (const RowColumn& column : schema_.Columns()) {
      if (column.eKind == ColumnKind::kNumber) {
        line += "  " + PadLeft(column.sName, NumberWidth(column));
      } else if (column.eKind == ColumnKind::kRating) {
        line += "  rating";
      }
    }
    line += "  file";
  }
  out_ << line << '\n';
}

void RowWriter::Write(const ReceiverRow& row) {
  Start();
  switch (eFormat_) {
    case RowFormat::kTable:
      WriteTable(row);
      break;
    case RowFormat::kCsv:
      WriteCsv(row);
      break;
    case RowFormat::kJson:
    case RowFormat::kJsonLines:
      WriteJson(row);
      break;
  }
  bFirstRow_ = false;
  out_.flush();
}

void RowWriter::End() {
  Start();
  if (eFormat_ == RowFormat::kJson) out_ << (bFirstRow_ ? "]\n" : "\n]\n");
  out_.flush();
}

void RowWriter::WriteTable(const ReceiverRow& row) {
  const bool bValues = row.eStatus == RowStatus::kOk;
  std::string line = PadRight(row.sLabel.value_or(""), kLabelWidth);
  for (const RowColumn& column : schema_.Columns()) {
    if (column.eKind == ColumnKind::kNumber) {
      // A failed file still shows where it is when its probe block was read.
      const double value =
          row.values.empty() ? NAN : row.values[static_cast<std::size_t>(column.iValue)];
      const bool bShown = bValues || column.iValue < kPositionValues;
      line += "  " + PadLeft(bShown ? Rounded(value, column.iDecimals) : "", NumberWidth(column));
    } else if (column.eKind == ColumnKind::kRating) {
      line += "  " + PadRight(bValues && !row.sRating.empty() ? row.sRating
                              : bValues                       ? "-"
                                                              : "",
                              6);
    }
  }
  line += "  " + row.sFile;
  const std::string note = StatusNote(row);
  if (!note.empty()) line += "  " + note;
  out_ << line << '\n';
}

void RowWriter::WriteCsv(const ReceiverRow& row) {
  std::string line;
  bool bFirst = true;
  for (const RowColumn& column : schema_.Columns()) {
    std::string field;
    switch (column.eKind) {
      case ColumnKind::kFile:
        field = CsvField(row.sFile);
        break;
      case ColumnKind::kStatus:
        field = RowStatusName(row.eStatus);
        break;
      case ColumnKind::kLabel:
        field = CsvField(row.sLabel.value_or(""));
        break;
      case ColumnKind::kNumber:
        if (!row.values.empty())
          field = NumberText(row.values[static_cast<std::size_t>(column.iValue)]);
        break;
      case ColumnKind::kRating:
        field = CsvField(row.sRating);
        break;
      case ColumnKind::kMessage:
        field = CsvField(row.sMessage);
        break;
    }
    line += (bFirst ? "" : ",") + field;
    bFirst = false;
  }
  out_ << line << '\n';
}

void RowWriter::WriteJson(const ReceiverRow& row) {
  Json object = Json::object();
  for (const RowColumn& column : schema_.Columns()) {
    Json& value = object[column.sName];
    switch (column.eKind) {
      case ColumnKind::kFile:
        value = row.sFile;
        break;
      case ColumnKind::kStatus:
        value = RowStatusName(row.eStatus);
        break;
      case ColumnKind::kLabel:
        value = row.sLabel ? Json(*row.sLabel) : Json(nullptr);
        break;
      case ColumnKind::kNumber:
        value = row.values.empty()
                    ? Json(nullptr)
                    : NumberJson(row.values[static_cast<std::size_t>(column.iValue)]);
        break;
      case ColumnKind::kRating:
        value = row.sRating.empty() ? Json(nullptr) : Json(row.sRating);
        break;
      case ColumnKind::kMessage:
        value = row.sMessage.empty() ? Json(nullptr) : Json(row.sMessage);
        break;
    }
  }
  // Names that are not UTF-8 (a Latin-1 name on the command line) are written with U+FFFD.
  const std::string text = object.dump(-1, ' ', false, Json::error_handler_t::replace);
  if (eFormat_ == RowFormat::kJson) {
    out_ << (bFirstRow_ ? "\n  " : ",\n  ") << text;
  } else {
    out_ << text << '\n';
  }
}

}  // namespace zyra::tool
