// The Python module `zyra`: the facade (zyra/facade/response.h) for NumPy users. It converts and
// adds no logic of its own; reading and evaluating run without the GIL, so threads evaluate
// files side by side.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "zyra/zyra.h"

namespace py = pybind11;

namespace {

// One pulse as a record of the `pulses` structured array.
struct PulseRecord {
  double Arrival;  // ms on the axis of tRef
  double Travel;   // ms
  int32_t Origin;
  int32_t ROrder;
  int16_t HorAngle;
  int16_t VerAngle;
  int32_t ID;
  int32_t ID_Pseudo;
  int32_t Flags;
  int16_t SPL[zyra::PulseColumns::kBandSlots];  // 0.01 dB, bands 0 ... 21
};

// A text of the library (UTF-8; a file name may hold any bytes) as a Python str.
py::str Text(const std::string& sText) {
  return py::reinterpret_steal<py::str>(
      PyUnicode_DecodeUTF8(sText.data(), static_cast<Py_ssize_t>(sText.size()), "surrogateescape"));
}

template <class T>
py::array_t<T> Array(const std::vector<T>& values) {
  return py::array_t<T>(static_cast<py::ssize_t>(values.size()), values.data());
}

py::array_t<double> Matrix(const double* values, py::ssize_t nRows, py::ssize_t nCols) {
  py::array_t<double> matrix({nRows, nCols});
  std::memcpy(matrix.mutable_data(), values,
              sizeof(double) * static_cast<std::size_t>(nRows * nCols));
  return matrix;
}

py::dict Columns(const zyra::BandTable& table) {
  py::dict columns;
  for (const std::string& name : table.Names()) columns[Text(name)] = Array(table.Values(name));
  return columns;
}

// zyra.Error with the library's number and description; for a ResponseError also the file,
// the failed step, the problem and, where known, the block and byte offset.
void RaiseZyraError(const zyra::RuntimeError& error, const zyra::ResponseError* response) {
  const py::object type = py::module_::import("zyra").attr("Error");
  const py::object instance = type(Text(error.what()));
  instance.attr("number") = error.Number();
  instance.attr("description") = Text(error.Description());
  instance.attr("file") = response ? py::object(Text(response->FilePath())) : py::none();
  instance.attr("fault") =
      response ? py::object(py::str(FaultName(response->Fault()))) : py::none();
  instance.attr("problem") = response ? py::object(Text(response->Problem())) : py::none();
  const auto* location = response && response->Location() ? &*response->Location() : nullptr;
  instance.attr("block") = location && location->eKind == zyra::FilePlace::Kind::kBlock
                               ? py::object(Text(location->sIDfx))
                               : py::none();
  instance.attr("offset") = location ? py::object(py::int_(location->lOffset)) : py::none();
  PyErr_SetObject(type.ptr(), instance.ptr());
}

zyra::EvaluateOptions EvaluateOptionsOf(bool reflections, const std::string& interference,
                                        bool noise, const std::string& alcons_form,
                                        std::pair<double, double> fit_limits, bool masking) {
  zyra::EvaluateOptions options;
  options.bWithReflections = reflections;
  if (interference == "pot" || interference == "pot,kin" || interference == "kin,pot") {
    options.bInterferencePotential = true;
  }
  if (interference == "kin" || interference == "pot,kin" || interference == "kin,pot") {
    options.bInterferenceKinetic = true;
  }
  if (!interference.empty() && interference != "none" && !options.bInterferencePotential &&
      !options.bInterferenceKinetic) {
    throw py::value_error("interference is 'none', 'pot', 'kin' or 'pot,kin'");
  }
  if (alcons_form != "peutz" && alcons_form != "sti") {
    throw py::value_error("alcons_form is 'peutz' or 'sti'");
  }
  options.eAlconsForm = alcons_form == "sti" ? zyra::SL_EAlcons_STI : zyra::SL_EAlcons_Peutz;
  options.bWithNoise = noise;
  options.dSchroederT1 = fit_limits.first;
  options.dSchroederT2 = fit_limits.second;
  options.bMasking = masking;
  return options;
}

py::dict ProbeDict(const zyra::Response& response) {
  const zyra::ProbeSummary probe = response.Probe();
  py::dict dict;
  dict["label"] = Text(probe.sLabel);
  dict["room"] = Text(probe.sRoom);
  dict["site"] = py::array_t<double>(3, probe.daSite.data());
  dict["hor_angle"] = probe.iHorAngle;
  dict["ver_angle"] = probe.iVerAngle;
  dict["pulses"] = probe.nPulses;
  dict["loudspeakers"] = probe.nLoudspeakers;
  dict["obstacles"] = probe.nObstacles;
  return dict;
}

py::dict LoudspeakerDict(const zyra::Response& response) {
  const zyra::LoudspeakerColumns lsp = response.Loudspeakers();
  py::list labels;
  py::list charLabels;
  for (const std::string& label : lsp.saLabel) labels.append(Text(label));
  for (const std::string& label : lsp.saCharLabel) charLabels.append(Text(label));
  py::array_t<double> site({static_cast<py::ssize_t>(lsp.daSite.size()), py::ssize_t{3}});
  for (std::size_t i = 0; i < lsp.daSite.size(); ++i) {
    for (std::size_t c = 0; c < 3; ++c) site.mutable_at(i, c) = lsp.daSite[i][c];
  }
  py::dict dict;
  dict["Label"] = labels;
  dict["CharLabel"] = charLabels;
  dict["CoherenceGroup"] = Array(lsp.laCoherenceGroup);
  dict["Site"] = site;
  dict["HorAngle"] = Array(lsp.iaHorAngle);
  dict["VerAngle"] = Array(lsp.iaVerAngle);
  dict["RotAngle"] = Array(lsp.iaRotAngle);
  dict["Delay"] = Array(lsp.daDelay);
  dict["PulsNr"] = Array(lsp.laPulsNr);
  dict["Flags"] = Array(lsp.laFlags);
  dict["IsActive"] = Array(std::vector<uint8_t>(lsp.baIsActive.begin(), lsp.baIsActive.end()))
                         .attr("astype")("bool");
  dict["IsPseudo"] = Array(std::vector<uint8_t>(lsp.baIsPseudo.begin(), lsp.baIsPseudo.end()))
                         .attr("astype")("bool");
  return dict;
}

py::array_t<PulseRecord> PulseArray(const zyra::Response& response) {
  zyra::PulseColumns pulses;
  {
    const py::gil_scoped_release release;
    pulses = response.Pulses();
  }
  py::array_t<PulseRecord> records(pulses.Count());
  PulseRecord* out = records.mutable_data();
  for (std::size_t i = 0; i < static_cast<std::size_t>(pulses.Count()); ++i) {
    PulseRecord& r = out[i];
    r = PulseRecord{pulses.daArrival[i],  pulses.daTravel[i],
                    pulses.laOrigin[i],   pulses.laROrder[i],
                    pulses.iaHorAngle[i], pulses.iaVerAngle[i],
                    pulses.laID[i],       pulses.laIDPseudo[i],
                    pulses.laFlags[i],    {}};
    std::memcpy(r.SPL, &pulses.iaSPL[i * zyra::PulseColumns::kBandSlots], sizeof r.SPL);
  }
  return records;
}

py::tuple Curve(const zyra::CDecayCurve& curve) {
  return py::make_tuple(Array(curve.daTime), Array(curve.daLevel));
}

}  // namespace

PYBIND11_MODULE(zyra, m) {
  m.doc() = "Response files of a room-acoustics simulation: open, inspect and evaluate them.";
  m.attr("__version__") = ZYRA_VERSION_STRING;
  PYBIND11_NUMPY_DTYPE(PulseRecord, Arrival, Travel, Origin, ROrder, HorAngle, VerAngle, ID,
                       ID_Pseudo, Flags, SPL);

  const py::object error = py::reinterpret_steal<py::object>(
      PyErr_NewExceptionWithDoc("zyra.Error",
                                "A failure of zyra: number and description of the library's "
                                "run-time error (0 where none stands behind it), and for a "
                                "file the file, the failed step (fault), the problem and, "
                                "where known, the block and byte offset.",
                                PyExc_RuntimeError, nullptr));
  m.attr("Error") = error;
  // The translator's signature is pybind11's: the pointer by value.
  py::register_exception_translator([](std::exception_ptr thrown) {  // NOLINT
    try {
      if (thrown) std::rethrow_exception(thrown);
    } catch (const zyra::ResponseError& e) {
      RaiseZyraError(e, &e);
    } catch (const zyra::RuntimeError& e) {
      RaiseZyraError(e, nullptr);
    }
  });

  m.def(
      "third_octave_frequencies", [] { return Array(zyra::ThirdOctaveFrequencies()); },
      "The nominal centre frequencies of the third-octave bands 1 ... 21 in Hz.");
  m.def(
      "octave_frequencies", [] { return Array(zyra::OctaveFrequencies()); },
      "The nominal centre frequencies of the octaves 125 ... 8000 Hz.");

  py::class_<zyra::Evaluation>(m, "Evaluation",
                               "The results of Response.evaluate as NumPy arrays and numbers.")
      .def_property_readonly(
          "third", [](const zyra::Evaluation& e) { return Columns(e.third); },
          "Third-octave columns by name (21 bands, 100 Hz ... 10 kHz): "
          "energies, levels and C50/C80/G in dB, D50/JLF as fractions, "
          "EDT/T20/T30 in s, Ts in ms; NaN where a value does not exist.")
      .def_property_readonly("third_hz",
                             [](const zyra::Evaluation& e) { return Array(e.third.Frequencies()); })
      .def_property_readonly(
          "octave", [](const zyra::Evaluation& e) { return Columns(e.octave); },
          "Octave columns by name (125 ... 8000 Hz), units as in `third`; "
          "MTI and MTI_statistic from 0 to 1.")
      .def_property_readonly(
          "octave_hz", [](const zyra::Evaluation& e) { return Array(e.octave.Frequencies()); })
      .def_property_readonly(
          "units",
          [](const zyra::Evaluation& e) {
            py::dict units;
            for (const zyra::BandTable* table : {&e.third, &e.octave}) {
              for (const std::string& name : table->Names()) units[Text(name)] = table->Unit(name);
            }
            return units;
          },
          "The unit of each column and single number: 'dB', 's', 'ms', '%', or '' for a "
          "fraction or an energy.")
      .def_property_readonly(
          "single",
          [](const zyra::Evaluation& e) {
            py::dict single;
            for (const zyra::NamedValue& v : e.SingleNumbers()) single[Text(v.sName)] = v.dValue;
            return single;
          },
          "Single numbers (ISO 3382-1 means of octaves) and STI, STIPA, Alcons_STI (%).")
      .def_property_readonly("sti_rating", &zyra::Evaluation::STIRating)
      .def_property_readonly(
          "times",
          [](const zyra::Evaluation& e) {
            const zyra::EvaluationTimes& t = e.times;
            py::dict times;
            times["tRef"] = t.tRef;
            times["tFirst"] = t.tFirst;
            times["tLast"] = t.tLast;
            times["tOff"] = t.tOff;
            times["tGap"] = t.tGap;
            times["tMean"] = t.tMean;
            times["tHall"] = t.tHall;
            times["tSplit"] = t.tSplit;
            times["tDiff"] = t.tDiff;
            return times;
          },
          "Characteristic times in ms: tRef on the arrival axis, the others after it.")
      .def_property_readonly(
          "alcons",
          [](const zyra::Evaluation& e) {
            return Matrix(e.alconsValues[0].data(), 3, zyra::kAlconsTimes);
          },
          "Alcons in % [500, 1000, 2000 Hz][t = 0 ... 50 ms of useful energy].")
      .def_property_readonly(
          "mtf",
          [](const zyra::Evaluation& e) -> py::object {
            if (!e.parameters) return py::none();
            return Matrix(e.parameters->mtf[0].data(), zyra::kOctaveCount, zyra::kModulationCount);
          },
          "Modulation transfer [octave][0.63 ... 12.5 Hz] after noise and masking; None without "
          "reflections.")
      .def_property_readonly("mtf_statistic",
                             [](const zyra::Evaluation& e) -> py::object {
                               if (!e.parameters) return py::none();
                               return Matrix(e.parameters->mtf_statistic[0].data(),
                                             zyra::kOctaveCount, zyra::kModulationCount);
                             })
      .def_readonly("with_reflections", &zyra::Evaluation::bWithReflections)
      .def_readonly("is_no_direct_sound", &zyra::Evaluation::bIsNoDirectSound)
      .def(
          "value",
          [](const zyra::Evaluation& e, const std::string& name, double hz, bool octave) {
            return (octave ? e.octave : e.third).At(name, hz);
          },
          py::arg("name"), py::arg("hz"), py::kw_only(), py::arg("octave") = false,
          "A column's value in the band nearest to hz (within a sixth of an octave).")
      .def("C50_dB", &zyra::Evaluation::C50_dB, py::arg("hz"))
      .def("C80_dB", &zyra::Evaluation::C80_dB, py::arg("hz"))
      .def("D50", &zyra::Evaluation::D50, py::arg("hz"))
      .def("level_dB", &zyra::Evaluation::Level_dB, py::arg("hz"))
      .def("EDT_s", &zyra::Evaluation::EDT_s, py::arg("hz"))
      .def("T20_s", &zyra::Evaluation::T20_s, py::arg("hz"))
      .def("T30_s", &zyra::Evaluation::T30_s, py::arg("hz"))
      .def("Ts_ms", &zyra::Evaluation::Ts_ms, py::arg("hz"))
      .def("G_dB", &zyra::Evaluation::G_dB, py::arg("hz"))
      .def(
          "decay_curve",
          [](const zyra::Evaluation& e, double hz, bool octave) {
            return Curve(octave ? e.OctaveDecayCurve(hz) : e.DecayCurve(hz));
          },
          py::arg("hz"), py::kw_only(), py::arg("octave") = false,
          "The Schroeder decay as (time in ms after tRef, level in dB), thinned for plotting.");

  py::class_<zyra::Response>(m, "Response", "A response file, read and prepared.")
      .def_property_readonly("path", &zyra::Response::FilePath)
      .def_property_readonly("probe", &ProbeDict,
                             "The receiver: label, room, site, angles, counts.")
      .def_property_readonly("loudspeakers", &LoudspeakerDict,
                             "Loudspeaker records 1 ... n as columns by property name.")
      .def_property_readonly("pulses", &PulseArray,
                             "Pulses as a structured array: Arrival and Travel in ms, SPL in "
                             "0.01 dB for bands 0 ... 21, the other fields as the file has them.")
      .def_property_readonly("is_empty", &zyra::Response::IsEmpty)
      .def_property_readonly("is_clean", &zyra::Response::IsClean)
      .def_property_readonly("read",
                             [](const zyra::Response& r) {
                               py::dict read;
                               read["result"] = r.Read().lResult;
                               read["message"] = Text(zyra::Latin1ToUtf8(r.Read().sMessage));
                               return read;
                             })
      .def_property_readonly(
          "init",
          [](const zyra::Response& r) -> py::object {
            if (!r.Init()) return py::none();
            py::dict init;
            init["result"] = r.Init()->lResult;
            init["message"] = Text(zyra::Latin1ToUtf8(r.Init()->sMessage));
            init["error"] = r.Init()->error
                                ? py::object(py::make_tuple(r.Init()->error->lNumber,
                                                            Text(r.Init()->error->sDescription)))
                                : py::none();
            return init;
          },
          "What the preparation answered (result, message, error as (number, description)); "
          "None without preparation.")
      .def(
          "evaluate",
          [](zyra::Response& r, bool reflections, const std::string& interference, bool noise,
             const std::string& alcons_form, std::pair<double, double> fit_limits, bool masking) {
            const zyra::EvaluateOptions options = EvaluateOptionsOf(
                reflections, interference, noise, alcons_form, fit_limits, masking);
            const py::gil_scoped_release release;
            return r.Evaluate(options);
          },
          py::kw_only(), py::arg("reflections") = true, py::arg("interference") = "none",
          py::arg("noise") = false, py::arg("alcons_form") = "peutz",
          py::arg("fit_limits") = std::make_pair(-5.0, -35.0), py::arg("masking") = true,
          "Evaluates the response; the GIL is released meanwhile. One Response serves one "
          "thread at a time.");

  m.def(
      "open",
      [](const std::filesystem::path& path, bool prepare, bool ignore_coherence,
         bool correct_bad_bundles, bool keep_damaged) {
        zyra::OpenOptions options;
        options.bPrepare = prepare;
        options.bIgnoreCoherence = ignore_coherence;
        options.bCorrectBadBundles = correct_bad_bundles;
        options.bKeepDamaged = keep_damaged;
        const py::gil_scoped_release release;
        return zyra::Response::Open(path.string(), options);
      },
      py::arg("path"), py::kw_only(), py::arg("prepare") = true,
      py::arg("ignore_coherence") = false, py::arg("correct_bad_bundles") = true,
      py::arg("keep_damaged") = false,
      "Reads, judges and prepares a response file; the GIL is released meanwhile. Raises "
      "zyra.Error naming the file and what went wrong.");
}
