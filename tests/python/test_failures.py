"""What goes wrong, and how Python tells it."""

import concurrent.futures
import warnings

import pytest
from peer import answer, code_of

import kestrine

E_FAIL, DISP_E_EXCEPTION = -2147467259, -2147352567
DISP_E_TYPEMISMATCH, DISP_E_OVERFLOW, DISP_E_UNKNOWNNAME = -2147352571, -2147352566, -2147352570
DISP_E_BADPARAMCOUNT, DISP_E_PARAMNOTOPTIONAL, DISP_E_PARAMNOTFOUND = -2147352562, -2147352561, -2147352572


def test_a_refusal_is_a_com_error_with_its_parts(early_wake, tracker, peer):
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


def test_a_warning_of_the_server_is_a_warning_and_the_outputs_are_there(early_wake, tracker, peer):
    warning = kestrine.constants.VL_RS_Parameter1OutOfRangeOK
    peer.reply = lambda request: answer(code_of(request), warning)
    with pytest.warns(kestrine.ServerWarning) as caught:
        assert tracker.ReleaseMotors() is None
    assert caught[0].message.status == warning and caught[0].filename == __file__
    assert tracker._hresult_ == 1
    with warnings.catch_warnings(action="error", category=kestrine.ServerWarning), \
            pytest.raises(kestrine.ServerWarning):
        tracker.ReleaseMotors()


@pytest.mark.parametrize("call, code, argument", [
    (lambda tracker: tracker.SetUnits(1, 2, 3, 4, 5, 6), DISP_E_BADPARAMCOUNT, None),
    (lambda tracker: tracker.GetUnits(1), DISP_E_BADPARAMCOUNT, None),
    (lambda tracker: tracker.SetUnits(1, 2, 3, lengthUnit=4), DISP_E_PARAMNOTFOUND, 1),
    (lambda tracker: tracker.SetUnits(1, 2, 3, humidityUnit=4), DISP_E_PARAMNOTOPTIONAL, None),
    (lambda tracker: tracker.SetUnits(1, 2, 3, 4, colour=5), DISP_E_UNKNOWNNAME, None),
    (lambda tracker: tracker.SetUnits(1, "metre", 3, 4, 5), DISP_E_TYPEMISMATCH, 2),
    (lambda tracker: tracker.SetUnits(1, 2, 3, 4, humidityUnit="x"), DISP_E_TYPEMISMATCH, 5),
    (lambda tracker: tracker.SetUnits(1, 2, 2**40, 4, 5), DISP_E_OVERFLOW, 3),
    (lambda tracker: tracker.SetUnits(1, 2, 2**70, 4, 5), DISP_E_OVERFLOW, None),
])
def test_arguments_that_do_not_fit_are_refused_before_anything_is_sent(tracker, peer, call, code, argument):
    with pytest.raises(kestrine.com_error) as caught:
        call(tracker)
    assert (caught.value.hresult, caught.value.argerror) == (code, argument)
    assert peer.requests == []


def test_values_of_other_types_are_converted(tracker, peer):
    tracker.SetUnits("1", 2.0, True, 4, humidityUnit=5)
    assert peer.requests[-1][12:].hex() == "01000000" "02000000" "ffffffff" "04000000" "05000000"
    for value in (object(), [1]):
        with pytest.raises(TypeError, match="lengthUnit"):
            tracker.SetUnits(value, 2, 3, 4, 5)
    with pytest.raises(TypeError, match="SystemUnitsDataT"):
        tracker.SetUnitsEx(kestrine.records.EnvironmentDataT())


def test_names_that_do_not_exist_are_attribute_errors(tracker, connection):
    for use in (lambda: tracker.Initialise, lambda: setattr(tracker, "Initialise", 1),
                lambda: setattr(tracker, "Initialize", 1), lambda: connection.ForceSingleConnection):
        with pytest.raises(AttributeError):
            use()


def test_an_object_of_another_thread_is_refused(tracker):
    with concurrent.futures.ThreadPoolExecutor() as threads, pytest.raises(kestrine.com_error) as caught:
        threads.submit(tracker.ReleaseMotors).result()
    assert caught.value.hresult & 0xFFFFFFFF == 0x8001010E


def test_a_name_of_no_class_is_a_com_error():
    for name in ("Kestrine.LTConnect3", "{00000000-0000-0000-0000-000000000001}"):
        with pytest.raises(kestrine.com_error):
            kestrine.Dispatch(name)
