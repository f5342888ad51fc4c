#include "tools/dump_json.h"

#include <charconv>
#include <cmath>
#include <string>
#include <string_view>
#include <vector>

namespace zyra::tool {
namespace {

// A band or coordinate array lo ... hi of any indexed property, as a JSON array from index lo.
template <class Get>
Json Floats(int32_t lo, int32_t hi, Get&& get) {
  std::vector<float> values;
  for (int32_t i = lo; i <= hi; ++i) values.push_back(get(i));
  return SinglesJson(values);
}

template <class Get>
Json Shorts(int32_t lo, int32_t hi, Get&& get) {
  std::vector<int16_t> values;
  for (int32_t i = lo; i <= hi; ++i) values.push_back(get(i));
  return IntegersJson(values);
}

constexpr int32_t kLastBand = 21;

}  // namespace

Json ReadJson(const ReadOutcome& read) {
  return Json{{"result", read.lResult},
              {"message", TextJson(read.sMessage)},
              {"nRaysPerLspk", read.nRaysPerLspk},
              {"fCutOffTime", SingleJson(read.fCutOffTime)}};
}

Json ErrorJson(const ErrorInfo& error) {
  return Json{
      {"error", Json{{"number", error.lNumber}, {"description", TextJson(error.sDescription)}}}};
}

Json InitJson(const InitOutcome& init) {
  if (init.error) return ErrorJson(*init.error);
  return Json{{"result", init.lResult}, {"message", TextJson(init.sMessage)}};
}

Json FileHeaderJson(const CFileHeaderClass& h) {
  return Json{{"ZYRA", TextJson(h.ZYRA())}, {"nHdr", h.nHdr()}, {"lHdr", h.lHdr()},
              {"IDfx", TextJson(h.IDfx())}, {"Vrsn", h.Vrsn()}, {"Flgs", h.Flgs()},
              {"nRcd", h.nRcd()},           {"lRcd", h.lRcd()}, {"addr", h.addr()}};
}

Json ProbeInfoJson(const CProbeInfoClass& p) {
  const auto band = [](auto get) { return Floats(0, kLastBand, get); };
  return Json{{"PrUserName", TextJson(p.PrUserName())},
              {"PrCompany", TextJson(p.PrCompany())},
              {"PrBegun", TextJson(p.PrBegun())},
              {"PrProject", TextJson(p.PrProject())},
              {"PrRoom", TextJson(p.PrRoom())},
              {"PrTown", TextJson(p.PrTown())},
              {"PrUnit", SingleJson(p.PrUnit())},
              {"PrTarget", p.PrTarget()},
              {"PrLabel", TextJson(p.PrLabel())},
              {"PrSite", Floats(0, 3, [&](int32_t i) { return p.PrSite(i); })},
              {"PrHorAngle", p.PrHorAngle()},
              {"PrVerAngle", p.PrVerAngle()},
              {"PrVolume", SingleJson(p.PrVolume())},
              {"PrSurface", SingleJson(p.PrSurface())},
              {"PrHumidity", p.PrHumidity()},
              {"PrAirTemp", p.PrAirTemp()},
              {"PrNoise", Shorts(0, kLastBand, [&](int32_t i) { return p.PrNoise(i); })},
              {"PrRTime", band([&](int32_t i) { return p.PrRTime(i); })},
              {"PrRTType", p.PrRTType()},
              {"PrAbsorp", band([&](int32_t i) { return p.PrAbsorp(i); })},
              {"PrTerzBand", p.PrTerzBand()},
              {"PrFrequency", p.PrFrequency()},
              {"PrBandWidth", p.PrBandWidth()},
              {"PrSplit", p.PrSplit()},
              {"PrSmooth", p.PrSmooth()},
              {"PrMapping", p.PrMapping()},
              {"PrAlconsForm", p.PrAlconsForm()},
              {"PrAlconsFreq", p.PrAlconsFreq()},
              {"PrLspInfos", p.PrLspInfos()},
              {"PrObstInfos", p.PrObstInfos()},
              {"PrPulses", p.PrPulses()},
              {"PrRemarks", TextJson(p.PrRemarks())},
              {"IsRoomSymm_b", p.IsRoomSymm_b()},
              {"IsRoomClosed_b", p.IsRoomClosed_b()},
              {"IsWithShadow_b", p.IsWithShadow_b()},
              {"IsInterferenceMap_b", p.IsInterferenceMap_b()},
              {"IsEpotMap_b", p.IsEpotMap_b()},
              {"IsEkinMap_b", p.IsEkinMap_b()},
              {"IsNoiseOn_b", p.IsNoiseOn_b()},
              {"IsPrTailInfo_b", p.IsPrTailInfo_b()},
              {"IsLocalRTInfo_b", p.IsLocalRTInfo_b()},
              {"IsWithPhaseData_b", p.IsWithPhaseData_b()},
              {"IsVexaSpecified_b", p.IsVexaSpecified_b()},
              {"IsVexaResponse_b", p.IsVexaResponse_b()},
              {"HasBadBundlesDetected_b", p.HasBadBundlesDetected_b()},
              {"HasBadBundlesCorrected_b", p.HasBadBundlesCorrected_b()},
              {"IsUseSumLevels_b", p.IsUseSumLevels_b()},
              {"flags", p.flags()}};
}

Json EtcJson(const CETCInfoClass& e) {
  const auto band = [](auto get) { return Floats(0, kLastBand, get); };
  return Json{{"HorAngle", e.HorAngle()},
              {"IsWithTail_b", e.IsWithTail_b()},
              {"IsParameter_b", e.IsParameter_b()},
              {"IsPredicted_b", e.IsPredicted_b()},
              {"IsCancelled_b", e.IsCancelled_b()},
              {"VerAngle", e.VerAngle()},
              {"Amplified", SingleJson(e.Amplified())},
              {"PostNo", e.PostNo()},
              {"dEnergy", band([&](int32_t i) { return e.dEnergy(i); })},
              {"TailSPL", Shorts(0, kLastBand, [&](int32_t i) { return e.TailSPL(i); })},
              {"TailStart", SingleJson(e.TailStart())},
              {"TailNoise", e.TailNoise()},
              {"TailLength", SingleJson(e.TailLength())},
              {"TailDensity", SingleJson(e.TailDensity())},
              {"TailGain", SingleJson(e.TailGain())},
              {"MaxDensity", SingleJson(e.MaxDensity())},
              {"tSplit", SingleJson(e.tSplit())},
              {"tDiff", SingleJson(e.tDiff())},
              {"Volume", SingleJson(e.Volume())},
              {"Surface", SingleJson(e.Surface())},
              {"DesiredRT", SingleJson(e.DesiredRT())},
              {"RTType", e.RTType()},
              {"RTime", band([&](int32_t i) { return e.RTime(i); })},
              {"Absorp", band([&](int32_t i) { return e.Absorp(i); })},
              {"Noise", band([&](int32_t i) { return e.Noise(i); })},
              {"Power", band([&](int32_t i) { return e.Power(i); })},
              {"NoviFlags", e.NoviFlags()},
              {"MaxSPL", SingleJson(e.MaxSPL())},
              {"flags", e.flags()}};
}

Json PredJson(const CPredictionInfoClass& p) {
  const auto band = [](auto get) { return Floats(0, kLastBand, get); };
  return Json{{"flags", p.flags()},
              {"RaysPerLspk", p.RaysPerLspk()},
              {"Target", SingleJson(p.Target())},
              {"Noise", p.Noise()},
              {"ATime", SingleJson(p.ATime())},
              {"BTime", SingleJson(p.BTime())},
              {"Start", band([&](int32_t i) { return p.Start(i); })},
              {"Slope", band([&](int32_t i) { return p.Slope(i); })},
              {"Rms", band([&](int32_t i) { return p.Rms(i); })},
              {"DelayTime", SingleJson(p.DelayTime())},
              {"Pulses0", p.Pulses0()},
              {"Pulses1", p.Pulses1()},
              {"Length1", SingleJson(p.Length1())},
              {"Loss1", band([&](int32_t i) { return p.Loss1(i); })},
              {"Pulses2", p.Pulses2()},
              {"Length2", SingleJson(p.Length2())},
              {"Loss2", band([&](int32_t i) { return p.Loss2(i); })},
              {"MaxDensity", p.MaxDensity()},
              {"Limited", p.Limited()},
              {"RT60", band([&](int32_t i) { return p.RT60(i); })},
              {"RTType", p.RTType()}};
}

Json LocalRTJson(const CLocalRTInfoClass& l) {
  return Json{{"LocalRTime", Floats(0, kLastBand, [&](int32_t i) { return l.LocalRTime(i); })}};
}

Json ObstaclesJson(const CObstInfoBufferClass& obstacles) {
  Json list = Json::array();
  for (int32_t i = 1; i <= obstacles.Count(); ++i) {
    const CObstInfoClass& o = *Required(obstacles.ObstInfo(i));
    list.push_back(Json{{"Item", o.Item()}, {"Label", TextJson(o.Label())}});
  }
  return list;
}

Json LoudspeakerJson(const CLspInfoClass& l) {
  return Json{{"Label", TextJson(l.Label())},
              {"CharLabel", TextJson(l.CharLabel())},
              {"CoherenceGroup", l.CoherenceGroup()},
              {"Site", Floats(1, 3, [&](int32_t i) { return l.Site(i); })},
              {"HorAngle", l.HorAngle()},
              {"VerAngle", l.VerAngle()},
              {"RotAngle", l.RotAngle()},
              {"Flags", l.Flags()},
              {"SPL1m", Shorts(0, kLastBand, [&](int32_t i) { return l.SPL1m(i); })},
              {"Dirty", Shorts(0, kLastBand, [&](int32_t i) { return l.Dirty(i); })},
              {"PhaseFlags", l.PhaseFlags()},
              {"Phase", Shorts(1, kLastBand, [&](int32_t i) { return l.Phase(i); })},
              {"Delay", SingleJson(l.Delay())},
              {"PulsNr", l.PulsNr()}};
}

Json PulsJson(const CPulsClass& p) {
  // Linie in the file's order: (0,0), (1,0), (0,1), (1,1).
  const std::vector<float> linie{p.Linie(0, 0), p.Linie(1, 0), p.Linie(0, 1), p.Linie(1, 1)};
  return Json{{"Origin", p.Origin()},
              {"SPL", Shorts(0, kLastBand, [&](int32_t i) { return p.SPL(i); })},
              {"Travel", SingleJson(p.Travel())},
              {"HorAngle", p.HorAngle()},
              {"VerAngle", p.VerAngle()},
              {"ROrder", p.ROrder()},
              {"Multiple", p.Multiple()},
              {"Linie", SinglesJson(linie)},
              {"Farbe", p.Farbe()},
              {"RayX", Floats(1, 3, [&](int32_t i) { return p.RayX(i); })},
              {"ID", p.ID()},
              {"Flags", p.Flags()},
              {"Phase", Shorts(0, kLastBand, [&](int32_t i) { return p.Phase(i); })},
              {"ID_Pseudo", p.ID_Pseudo()}};
}

Json PulseBufferJson(const CPulsBufferClass& b) {
  return Json{{"MaxOrder", b.MaxOrder()},
              {"MinID", b.MinID()},
              {"MaxID", b.MaxID()},
              {"MinPseudoID", b.MinPseudoID()},
              {"MaxPseudoID", b.MaxPseudoID()},
              {"MaxSPL", Shorts(0, kLastBand, [&](int32_t i) { return b.MaxSPL(i); })},
              {"DataOrigin", static_cast<int32_t>(b.DataOrigin())},
              {"SpeakerPhaseWasAdded", b.SpeakerPhaseWasAdded()}};
}

namespace {

// Text gathered in a buffer of its own and handed to the stream in pieces of about a megabyte:
// a million pulses make a gigabyte of JSON, and a stream call per character or number would
// cost more than making the text.
class BufferedText {
 public:
  explicit BufferedText(std::ostream& out) : out_(out) { text_.reserve(kPiece + kPiece / 8); }
  BufferedText(const BufferedText&) = delete;
  BufferedText& operator=(const BufferedText&) = delete;
  ~BufferedText() { Flush(); }

  void Append(std::string_view text) { text_.append(text); }
  void Integer(int64_t value) {
    char digits[24];
    const auto written = std::to_chars(digits, digits + sizeof digits, value);
    text_.append(digits, written.ptr);
  }
  // A Single as SingleJson gives it and the JSON writer prints it: the double read from the
  // float's shortest text, printed by the writer's own number form (so the text is the same
  // to the byte); NaN and the infinities as strings.
  void Single(float value) {
    if (!std::isfinite(value)) {
      Append(std::isnan(value) ? "\"NaN\"" : (value > 0 ? "\"Infinity\"" : "\"-Infinity\""));
      return;
    }
    char text[64];
    const auto shortest = std::to_chars(text, text + sizeof text, value);
    double widened = 0.0;
    std::from_chars(text, shortest.ptr, widened);
    const char* end = nlohmann::detail::to_chars(text, text + sizeof text, widened);
    text_.append(text, static_cast<std::size_t>(end - text));
  }
  // Hands the text to the stream once a piece has gathered.
  void FlushIfFull() {
    if (text_.size() >= kPiece) Flush();
  }
  void Flush() {
    out_.write(text_.data(), static_cast<std::streamsize>(text_.size()));
    text_.clear();
  }

 private:
  static constexpr std::size_t kPiece = std::size_t{1} << 20;
  std::ostream& out_;
  std::string text_;
};

// A value as it stands at `depth` inside the document (indented by two per level).
void WriteNested(BufferedText& out, const Json& value, int depth) {
  const std::string text = value.dump(2, ' ', false, Json::error_handler_t::strict);
  const std::string indent = "\n" + std::string(static_cast<std::size_t>(2 * depth), ' ');
  std::size_t start = 0;
  for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', start)) {
    out.Append(std::string_view(text).substr(start, end - start));
    out.Append(indent);
    start = end + 1;
  }
  out.Append(std::string_view(text).substr(start));
}

// PulsJson(p) as WriteNested(out, PulsJson(p), 2) writes it, made directly: keys at six
// blanks, array elements at eight (as the writer indents a document by two per level).
void WritePuls(BufferedText& out, const CPulsClass& p) {
  bool bFirst = true;
  const auto key = [&](std::string_view name) {
    out.Append(bFirst ? "{\n      \"" : ",\n      \"");
    bFirst = false;
    out.Append(name);
    out.Append("\": ");
  };
  const auto integer = [&](std::string_view name, int64_t value) {
    key(name);
    out.Integer(value);
  };
  const auto single = [&](std::string_view name, float value) {
    key(name);
    out.Single(value);
  };
  // An array of n elements, element i written by write(i).
  const auto array = [&](std::string_view name, int32_t n, auto&& write) {
    key(name);
    for (int32_t i = 0; i < n; ++i) {
      out.Append(i == 0 ? "[\n        " : ",\n        ");
      write(i);
    }
    out.Append("\n      ]");
  };
  integer("Origin", p.Origin());
  array("SPL", kLastBand + 1, [&](int32_t i) { out.Integer(p.SPL(i)); });
  single("Travel", p.Travel());
  integer("HorAngle", p.HorAngle());
  integer("VerAngle", p.VerAngle());
  integer("ROrder", p.ROrder());
  integer("Multiple", p.Multiple());
  // Linie in the file's order: (0,0), (1,0), (0,1), (1,1).
  array("Linie", 4, [&](int32_t i) { out.Single(p.Linie(i % 2, i / 2)); });
  integer("Farbe", p.Farbe());
  array("RayX", 3, [&](int32_t i) { out.Single(p.RayX(i + 1)); });
  integer("ID", p.ID());
  integer("Flags", p.Flags());
  array("Phase", kLastBand + 1, [&](int32_t i) { out.Integer(p.Phase(i)); });
  integer("ID_Pseudo", p.ID_Pseudo());
  out.Append("\n    }");
}

}  // namespace

void WriteDumpJson(std::ostream& out, const CProbeRspClass& cFile, const CFileHeaderClass& header,
                   const ReadOutcome& read, const InitOutcome* init) {
  BufferedText text(out);
  // Everything but the pulses, which are written one by one in their place.
  Json rest = DumpJson(cFile, header, read, init, false);
  text.Append("{");
  bool first = true;
  for (const auto& [key, value] : rest.items()) {
    text.Append(first ? "\n  " : ",\n  ");
    text.Append(Json(key).dump());
    text.Append(": ");
    first = false;
    if (key != "pulses") {
      WriteNested(text, value, 1);
      continue;
    }
    const CPulsBufferClass& pulses = *cFile.Rsp()->Pulses();
    const int32_t n = pulses.Count();
    if (n == 0) {
      text.Append("[]");
      continue;
    }
    text.Append("[");
    for (int32_t i = 1; i <= n; ++i) {
      text.Append(i == 1 ? "\n    " : ",\n    ");
      WritePuls(text, pulses.PulsRecord(i));
      text.FlushIfFull();
    }
    text.Append("\n  ]");
  }
  text.Append("\n}\n");
}

Json DumpJson(const CProbeRspClass& cFile, const CFileHeaderClass& header, const ReadOutcome& read,
              const InitOutcome* init, bool bWithPulses) {
  const CSystemResponse& rsp = *cFile.Rsp();
  Json loudspeakers = Json::array();
  for (int32_t i = 1; i <= rsp.LspInfos()->Count(); ++i) {
    loudspeakers.push_back(LoudspeakerJson(rsp.LspInfos()->LspInfoRecord(i)));
  }
  Json pulses = Json::array();
  for (int32_t i = 1; bWithPulses && i <= rsp.Pulses()->Count(); ++i) {
    pulses.push_back(PulsJson(rsp.Pulses()->PulsRecord(i)));
  }
  return Json{{"read", ReadJson(read)},
              {"init", init != nullptr ? InitJson(*init) : Json(nullptr)},
              {"file_header", FileHeaderJson(header)},
              {"info_text", Json{{"SourceText", TextJson(cFile.InfoText()->SourceText())}}},
              {"probe_info", ProbeInfoJson(*cFile.ProbeInfo())},
              {"etc", EtcJson(*cFile.ETC())},
              {"pred", PredJson(*cFile.Pred())},
              {"local_rt", LocalRTJson(*cFile.LocalRTInfo())},
              {"obstacles", ObstaclesJson(*cFile.ObstInfo())},
              {"loudspeakers", std::move(loudspeakers)},
              {"pulses", std::move(pulses)},
              {"pulse_buffer", PulseBufferJson(*rsp.Pulses())}};
}

}  // namespace zyra::tool
