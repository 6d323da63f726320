"""A page for each operation of the tracker, and the list of them all."""

from html import escape

from generator.model.commands import Command
from generator.model.interfaces import Parameter
from generator.model.methods import Method
from generator.model.schema import Schema

from .forms import Forms
from .html import Names, facts, listing, section, table
from .site import Page
from .units import Ranges, type_name, unit_name

_EVENTS_OF_ALL = ["ErrorEvent", "ExceptionEvent"]
_LAST_WITH_RANGE_STATUS = 6  # parameters behind it have WrongParameter alone


def path_of(name: str) -> str:
    return f"operations/{name}.html"


class Operations:
    def __init__(self, schema: Schema, names: Names, forms: Forms, ranges: Ranges):
        self._schema, self._names, self._forms, self._ranges = schema, names, forms, ranges
        self._async = {method.name: method for method in schema.async_methods}
        every = {method.name: method for method in schema.sync_methods}
        self._ex = {name: every[name + "Ex"] for name in every if name + "Ex" in every}
        self.all = [method for name, method in every.items() if name.removesuffix("Ex") not in self._ex or
                    name in self._ex]
        self._answers = {answer.command.name: answer for answer in schema.answers}
        self._errors = {error.name: error for error in schema.errors}
        self._statuses = {value.name: value for value in schema.enums["VL_ResultStatus"].values}
        self._waits = {wait.name: wait for wait in schema.waits}
        for method in self.all:
            names.add(method.name, path_of(method.name))
            if method.name in self._ex:
                names.add(method.name + "Ex", path_of(method.name))

    def subject(self, method: Method) -> str:
        """The file that its command stands in."""
        return method.command.where.path.rsplit("/", 1)[1].removesuffix(".toml") if method.command else "system"

    def summary(self, method: Method) -> str:
        return f"“{method.command.text}” ({method.command.code})" if method.command else method.doc

    def page(self, method: Method, example: str, shown_in: list[Page]) -> str:
        whole = self._ex.get(method.name)
        doc = f"<p>{self._names.text(method.doc)}</p>\n" if method.doc else ""
        record = whole.parameters[-1] if whole else None
        shown = ", ".join(f'<a href="/{chapter.path}">{escape(chapter.title)}</a>' for chapter in shown_in)
        body = f"<h1>{method.name}</h1>\n{doc}"
        body += facts([("Command", self._command(method.command)), ("Waits", self._wait(method)),
                       ("Ex", f"<code>{whole.name}</code> {'gives' if record.out else 'takes'} the whole record "
                              f"{self._names.code(record.type)}" if whole and record else ""),
                       ("Allowed", self._mode(method)), ("Remembered", self._mirror(method)),
                       ("In the guide", shown)])
        body += section("Inputs", self._inputs(method)) + section("Outputs", self._outputs(method))
        body += section("From C++", self._cpp(method)) + section("From Python", self._python(method))
        body += section("Example", example)
        return body + section("Events", self._events(method)) + section("Failures", self._failures(method))

    def _command(self, command: Command | None) -> str:
        if not command:
            return ""
        answer = command.answer.name if command.answer else ""
        series = ", one for each item" if command.series else ""
        return (f"“{escape(command.text)}”, {self._names.code(command.name)} ({command.code}); a request of "
                f"{command.request_size} bytes; its answer is {self._names.code(answer)}{series}")

    def _wait(self, method: Method) -> str:
        if not method.command:
            return ""
        if method.sends_only:
            return "Sends only; the items arrive as events. <code>Tracker</code> collects them."
        wait = self._waits[method.wait]
        added = " and the time of a stationary measurement" if method.adds_measure_time else ""
        longer = f", {wait.increased} ms with increased timeouts" if wait.increased else ""
        return f"{self._names.code(wait.key)}{added}: {wait.ordinary} ms{longer}"

    def _mode(self, method: Method) -> str:
        return f"In a measurement mode for a {method.mode}" if method.mode else ""

    def _mirror(self, method: Method) -> str:
        return f"The connection remembers the {method.mirror}" if method.mirror else ""

    def _inputs(self, method: Method) -> str:
        rows = []
        for number, each in enumerate((each for each in method.parameters if not each.out), 1):
            command = method.command.method_name if method.command else ""
            rows.append([f"<code>{each.name}</code>", type_name(self._names, each.type), unit_name(each.quantity),
                         self._ranges.of(command, each.name), str(each.offset or ""), self._refusals(number)])
        return table(["Name", "Type", "Unit", "The simulator takes", "Offset", "Statuses"], rows) \
            if rows else "<p>None.</p>"

    def _refusals(self, number: int) -> str:
        wanted = [f"VL_RS_WrongParameter{number}"]
        if number <= _LAST_WITH_RANGE_STATUS:
            wanted += [f"VL_RS_Parameter{number}OutOfRangeNOK", f"VL_RS_Parameter{number}OutOfRangeOK"]
        return ", ".join(self._names.code(name, str(self._statuses[name].value))
                         for name in wanted if name in self._statuses)

    def _outputs(self, method: Method) -> str:
        answer = self._answers.get(method.command.name) if method.command else None
        if answer and answer.sync_event:
            return (f"<p>Items, each as the event {self._names.code(answer.sync_event.name)}; "
                    f"<code>Tracker</code> returns them in a list.</p>")
        rows = [self._output(each) for each in method.parameters if each.out]
        note = {"measurement": "<p>Out of the result's packet.</p>",
                "tiltra": "<p>Out of the packet of the inclination sensor.</p>"}.get(method.source, "")
        when = "<p>Written for status 0 only.</p>" if method.outputs_when_good else ""
        return note + when + table(["Name", "Type", "Unit", "Offset"], rows) if rows else "<p>None.</p>"

    def _output(self, each: Parameter) -> list[str]:
        return [f"<code>{each.name}</code>", type_name(self._names, each.type), unit_name(each.quantity),
                str(each.offset)]

    def _cpp(self, method: Method) -> str:
        named = [method.name] + ([method.name + "Ex"] if method.name in self._ex else [])
        native = "\n".join(self._forms.tracker[name] for name in named if name in self._forms.tracker)
        slots = [method.slot_name, *named[1:]]
        sync = "\n".join(self._forms.members["ILTCommandSync"][slot] for slot in slots)
        sends = self._forms.members["ILTCommandAsync"].get(method.name, "")
        return "".join(f"<p>{title}</p>\n{listing(code, 'cpp')}" for title, code in (
            ("<code>kestrine::Tracker</code>", native), ("<code>ILTCommandSync</code>, which waits", sync),
            ("<code>ILTCommandAsync</code>, which sends and returns", sends)) if code)

    def _python(self, method: Method) -> str:
        if method.kind == "put":
            return listing(f"tracker.{method.name} = True", "python")
        named = [method.name] + ([method.name + "Ex"] if method.name in self._ex else [])
        parts: dict[str, list[str]] = {}
        for title, group in (("<code>kestrine.Tracker</code>", "Tracker"),
                             ("<code>ILTCommandSync2</code>, which waits", "ILTCommandSync2"),
                             ("<code>ILTCommandAsync2</code>, which sends and returns", "ILTCommandAsync2"),
                             ("<code>kestrine.aio.Tracker</code>, awaited", "AwaitableCommands")):
            known = self._forms.python.get(group, {})
            rows = [known[name] for name in named if name in known]
            if rows:
                parts.setdefault("\n".join(rows), []).append(title)
        return "".join(f"<p>{', and '.join(titles)}</p>\n{listing(code, 'python')}" for code, titles in parts.items())

    def _events(self, method: Method) -> str:
        if not method.command:
            return ""
        answer = self._answers[method.command.name]
        told = [each.name for each in (answer.async_event, answer.second_event) if each]
        ends = self._async[method.name].ends if method.name in self._async else ()
        rows = [[" ".join(map(self._names.code, told)) or self._names.code("CommandCompletedData"),
                 "The answer to the asynchronous call" + ("." if answer.tested else ", whatever its status.")]]
        if answer.sync_event:
            rows.append([self._names.code(answer.sync_event.name), "Each item of the synchronous call."])
        if more := [name for name in ends if name not in told and name != "CommandCompletedData"]:
            rows.append([" ".join(map(self._names.code, more)), "The result, which ends the asynchronous call."])
        rows.append([" ".join(map(self._names.code, _EVENTS_OF_ALL)), "What fails."])
        return table(["Event", "Brings"], rows)

    def _failures(self, method: Method) -> str:
        if not method.command:
            return ""
        given = ["PendingAnswer", "SendFailed"]
        given += ["NotContinuousMode"] if method.mode.startswith("continuous") else []
        given += ["NotStationaryMode"] if method.mode.startswith("stationary") else []
        given += ["StatisticMode"] if method.result_type != -1 else []
        given += ["ByteArray"] if any(each.out and each.type == "variant" for each in method.parameters) else []
        given += [] if method.sends_only else ["TimedOut"]
        rows = [[self._names.code(f"error {name}", str(self._errors[name].number)), escape(name),
                 self._names.text(self._errors[name].advice)] for name in given]
        return table(["Number", "Name", "What to do"], rows) + (
            '<p>And every <a href="/statuses.html">status of the server</a>. Those of an input stand with it, the '
            "refusals first, then the warning.</p>")

    def overview(self, intros: dict[str, str]) -> str:
        parts = []
        for subject, intro in intros.items():
            rows = [[self._names.code(method.name), str(method.command.code) if method.command else "",
                     escape(method.command.text) if method.command else escape(method.doc),
                     "yes" if method.name in self._ex else ""]
                    for method in self.all if self.subject(method) == subject]
            parts.append(section(subject.capitalize(), f"<p>{escape(intro)}</p>" +
                                 table(["Operation", "Code", "Command", "Ex"], rows)))
        return "\n".join(parts)
