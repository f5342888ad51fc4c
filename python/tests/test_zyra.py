"""The Python module on files the tool synthesises: the same values as the tool's JSON."""
import json
import os
import subprocess

import numpy as np
import pytest

import zyra

TOOL = os.environ["ZYRA_RSP"]


def run_tool(*args):
    return subprocess.run([TOOL, *map(str, args)], check=True, capture_output=True, text=True)


# Pairs of the module's keywords and the tool's flags that ask for the same evaluation.
EVAL_OPTIONS = [
    ({}, []),
    ({"alcons_form": "sti", "noise": True, "interference": "pot,kin"},
     ["--form", "sti", "--noise", "--interference", "pot,kin"]),
    ({"reflections": False}, ["--direct-only"]),
    ({"masking": False, "fit_limits": (-1.0, -20.0)}, ["--no-masking", "--fit-limits=-1,-20"]),
]


@pytest.fixture(scope="module")
def files(tmp_path_factory):
    folder = tmp_path_factory.mktemp("responses")
    run_tool("synth", "--pulses", 3000, "--speakers", 24, "--seed", 2, "-o", folder / "synth.rsp")
    run_tool("demo", "--out", folder)
    return [folder / "synth.rsp", folder / "demo-hall.rsp"]


def values(json_list):
    """A JSON array with null for values that do not exist, as the module gives it: NaN."""
    return np.array([np.nan if v is None else v for v in json_list], dtype=float)


def test_evaluation_equals_the_tools_json(files):
    for path in files:
        response = zyra.open(path)
        for kwargs, flags in EVAL_OPTIONS:
            tool = json.loads(run_tool("eval", path, "--json", *flags).stdout)
            result = response.evaluate(**kwargs)
            where = f"{path.name} {flags}"
            assert result.times == tool["times"], where
            for name in ["E7", "E50", "E80", "ESplit", "Etotal", "EDirect", "SPLMax"]:
                np.testing.assert_array_equal(result.third[name], tool["bands"][name][1:], where)
            for name, column in [("C50", "C50"), ("C80", "C80"), ("D50", "D50"),
                                 ("level_total_dB", "level_total")]:
                np.testing.assert_array_equal(
                    result.third[column], values(tool["derived"][name][1:]), where)
            np.testing.assert_array_equal(result.alcons, tool["alcons"]["values"], where)
            assert result.C80_dB(1000) == result.third["C80"][10] or np.isnan(result.C80_dB(1000))
            parameters = tool.get("parameters")
            if parameters is None:
                continue
            for table, first in [("third", 1), ("octave", 0)]:
                for name, column in parameters[table].items():
                    np.testing.assert_array_equal(
                        getattr(result, table)[name], values(column[first:]), where)
            singles = {**parameters["single"],
                       **{k: parameters[k] for k in ["STI", "STI_statistic", "STIPA", "Alcons_STI"]}}
            for name, value in singles.items():
                np.testing.assert_array_equal(result.single[name], values([value])[0], where)
            np.testing.assert_array_equal(result.mtf, values(np.ravel(parameters["mtf"])).reshape(7, 14))


def test_model_equals_the_tools_dump(files):
    for path in files:
        dump = json.loads(run_tool("dump", path).stdout)
        response = zyra.open(path)
        pulses = response.pulses
        assert len(pulses) == len(dump["pulses"]) == response.probe["pulses"]
        for field in ["Origin", "ROrder", "HorAngle", "VerAngle", "ID", "ID_Pseudo", "Flags", "SPL"]:
            np.testing.assert_array_equal(pulses[field], [p[field] for p in dump["pulses"]], field)
        np.testing.assert_array_equal(pulses["Travel"].astype(np.float32),
                                      np.array([p["Travel"] for p in dump["pulses"]], np.float32))
        speakers = response.loudspeakers
        assert speakers["Label"] == [s["Label"].rstrip(" \0") for s in dump["loudspeakers"]]
        assert list(speakers["PulsNr"]) == [s["PulsNr"] for s in dump["loudspeakers"]]
        assert response.probe["label"] == dump["probe_info"]["PrLabel"].rstrip(" \0")


def test_decay_curve_falls_from_zero(files):
    result = zyra.open(files[-1]).evaluate()
    time_ms, level_db = result.decay_curve(1000, octave=True)
    assert time_ms.shape == level_db.shape and len(time_ms) > 10
    assert level_db[0] == 0.0 and np.all(np.diff(level_db) <= 0.0) and np.all(np.diff(time_ms) > 0)
    assert result.units["T30"] == "s" and result.units["C80"] == "dB"


def test_failures_raise_zyra_error_with_number_and_description(tmp_path, files):
    text = tmp_path / "text.rsp"
    text.write_text("This is a text file, not a response file at all.\n")
    truncated = tmp_path / "truncated.rsp"
    truncated.write_bytes(files[0].read_bytes()[:300])
    cases = [
        (tmp_path / "missing.rsp", 75, "Path/File access error", "file_access"),
        (text, 0, "not a usable response file: No ZYRA Response File", "not_a_response"),
        (truncated, 62, "Input past end of file", "not_a_response"),
    ]
    for path, number, description, fault in cases:
        with pytest.raises(zyra.Error) as caught:
            zyra.open(path)
        error = caught.value
        assert (error.number, error.description, error.fault) == (number, description, fault)
        assert error.file == str(path) and str(error).startswith(str(path) + ": ")
    with pytest.raises(zyra.Error) as caught:
        zyra.open(files[0]).evaluate().C80_dB(20000)
    assert (caught.value.number, caught.value.file) == (9, None)
    with pytest.raises(ValueError):
        zyra.open(files[0]).evaluate(alcons_form="haas")
