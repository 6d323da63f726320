"""What goes wrong, and how Python tells it."""

import struct
from fractions import Fraction

import pytest
from peer import answer, code_of

import kestrine

E_FAIL, DISP_E_EXCEPTION = -2147467259, -2147352567
DISP_E_UNKNOWNNAME = -2147352570
DISP_E_BADPARAMCOUNT, DISP_E_PARAMNOTOPTIONAL, DISP_E_PARAMNOTFOUND = -2147352562, -2147352561, -2147352572


@pytest.mark.classic
def test_a_refusal_is_a_com_error_with_its_parts(tracker, peer):
    busy = kestrine.constants.VL_RS_ServerBusy
    peer.reply = lambda request: answer(code_of(request), busy)
    with pytest.raises(kestrine.com_error) as caught:
        tracker.GoBirdBath()
    error = caught.value
    assert error.hresult == DISP_E_EXCEPTION and error.argerror is None
    wcode, source, description, help_file, help_context, scode = error.excepinfo
    assert (wcode, source, help_file, help_context, scode) == (0, "Kestrine.LTConnect2.1", None, 0, E_FAIL)
    assert "Go Bird Bath" in description and description in str(error)
    assert error.number == busy
    assert error.args == (error.hresult, error.strerror, error.excepinfo, None)
    assert tracker._hresult_ == E_FAIL


def test_a_warning_of_the_server_is_a_warning_and_the_outputs_are_there(tracker, peer):
    warning = kestrine.constants.VL_RS_Parameter1OutOfRangeOK
    peer.reply = lambda request: answer(code_of(request), warning)
    with pytest.warns(kestrine.ServerWarning) as caught:
        assert tracker.ReleaseMotors() is None
    assert caught[0].message.status == warning and caught[0].filename == __file__
    assert tracker._hresult_ == 1


@pytest.mark.parametrize("call, code, argument", [
    (lambda tracker: tracker.SetUnits(1, 2, 3, 4, 5, 6), DISP_E_BADPARAMCOUNT, None),
    (lambda tracker: tracker.SetUnits(1, 2, 3, lengthUnit=4), DISP_E_PARAMNOTFOUND, 1),
    (lambda tracker: tracker.SetUnits(1, 2, 3, humidityUnit=4), DISP_E_PARAMNOTOPTIONAL, None),
    (lambda tracker: tracker.SetUnits(1, 2, 3, 4, colour=5), DISP_E_UNKNOWNNAME, None),
])
def test_arguments_that_do_not_match_the_parameters_are_refused_before_anything_is_sent(tracker, peer, call, code,
                                                                                        argument):
    with pytest.raises(kestrine.com_error) as caught:
        call(tracker)
    assert (caught.value.hresult, caught.value.argerror) == (code, argument)
    assert peer.requests == []


RECORDS = kestrine.records
NAN = float("nan")


@pytest.mark.parametrize("error, name, call", [
    (TypeError, "lengthUnit", lambda tracker: tracker.SetUnits(None, 2, 3, 4, 5)),
    (TypeError, "angleUnit", lambda tracker: tracker.SetUnits(1, 2.5, 3, 4, 5)),
    (TypeError, "angleUnit", lambda tracker: tracker.SetUnits(1, True, 3, 4, 5)),
    (OverflowError, "angleUnit", lambda tracker: tracker.SetUnits(1, 2**31, 3, 4, 5)),
    (TypeError, "val2", lambda tracker: tracker.GoPosition(1, False, 3, True)),
    (ValueError, "val2", lambda tracker: tracker.GoPosition(1, NAN, 3, True)),
    (TypeError, "useADM", lambda tracker: tracker.GoPosition(1, 2, 3, 2)),
    (TypeError, "UseIncreasedTimeouts", lambda tracker: setattr(tracker, "UseIncreasedTimeouts", None)),
    (TypeError, "EnvironmentDataT", lambda tracker: tracker.SetUnitsEx(RECORDS.EnvironmentDataT())),
    (TypeError, r"\.angUnitType", lambda tracker: tracker.SetUnitsEx(RECORDS.SystemUnitsDataT(angUnitType=None))),
])
def test_a_value_that_a_parameter_cannot_hold_is_never_sent_as_another(tracker, peer, error, name, call):
    with pytest.raises(error, match=name):
        call(tracker)
    assert peer.requests == []


def test_numbers_of_other_types_are_sent_as_they_are(tracker, peer):
    numpy = pytest.importorskip("numpy")
    tracker.SetUnits(1.0, numpy.int64(2), kestrine.VL_TemperatureUnit(1), 4, humidityUnit=-(2**31))
    assert peer.requests[-1][12:] == struct.pack("<5i", 1, 2, 1, 4, -(2**31))
    tracker.GoPosition(1, numpy.float32(2.5), Fraction(7, 2), numpy.True_)
    assert peer.requests[-1][12:] == struct.pack("<3di", 1, 2.5, 3.5, 1)


def test_names_that_do_not_exist_are_attribute_errors(tracker, connection):
    for use in (lambda: tracker.Initialise, lambda: setattr(tracker, "Initialise", 1),
                lambda: setattr(tracker, "Initialize", 1), lambda: connection.ForceSingleConnection):
        with pytest.raises(AttributeError):
            use()


def test_a_name_of_no_class_is_a_com_error():
    for name, words in (("Kestrine.LTConnect", "first generation"), ("Kestrine.LTConnect3", "")):
        with pytest.raises(kestrine.com_error, match=words):
            kestrine.Dispatch(name)
