"""A schema as the generator has understood it, in one text: everything that was written and everything that follows."""

from generator.model.schema import Schema


def outline(schema: Schema) -> str:
    lines = []
    for enum in schema.enums.values():
        lines.append(f"{enum.name}: " + ", ".join(f"{value.name} {value.value}" for value in enum.values))
    for record in schema.records.all.values():
        element = f", elements of {record.element.name} from {record.header_size}" if record.element else ""
        lines.append(f"{record.name}, {record.size} bytes{element}: " + "; ".join(map(_leaf, record.leaves)))
    lines += [f"{alias} is {record.name}" for alias, record in schema.records.aliases.items()]
    for command in schema.commands.values():
        answer = command.answer.name if command.answer else "nothing"
        lines.append(f"{command.code} {command.name!r} {command.text!r} {command.request_size} bytes: "
                     f"{'; '.join(map(_leaf, command.parameters))} -> {'one ' * command.series}{answer}")
    lines += [f"packet {packet.value.value}: {packet.record.name}" for packet in schema.packets]
    for side, events in (("async", schema.async_events), ("sync", schema.sync_events)):
        lines += [f"{side} event {event.dispid} {event.name}: {'; '.join(map(_value, event.values))}"
                  for event in events.values()]
    for answer in schema.answers:
        events = [event.name if event else "-" for event in
                  (answer.async_event, answer.second_event, answer.sync_event)]
        lines.append(f"answer {answer.command.code} fires {' '.join(events)}"
                     f"{' tested' * answer.tested}{' twice' * answer.tested_twice}")
    for side, members in (("connect", schema.connect_members), ("sync", schema.sync_methods),
                          ("async", schema.async_methods)):
        lines += [f"{side} {each.dispid} {each.slot_name}({'; '.join(map(_parameter, each.parameters))})"
                  f"{_departures(each) if side != 'connect' else ''}".rstrip() for each in members]
    lines += [f"wait {wait}" for wait in schema.waits]
    lines += [f"status {status} is the warning {row}" for status, row in schema.warnings.items()]
    lines += [f"class {each.program}" for each in schema.library.classes]
    return "\n".join(lines) + "\n"


def _leaf(leaf) -> str:
    return f"{leaf.name}@{leaf.offset} {leaf.quantity or leaf.type} as {leaf.public}"


def _value(value) -> str:
    return f"{value.name} {value.type} @{value.leaf.offset if value.leaf else '-'}"


def _parameter(parameter) -> str:
    out = "out " if parameter.out else ""
    return f"{out}{parameter.name} {parameter.type}@{parameter.offset}/{parameter.size} {parameter.quantity}".rstrip()


def _departures(method) -> str:
    facts = {"waits": method.wait, "measure time": method.adds_measure_time, "reads": method.source,
             "type": method.result_type, "mode": method.mode, "speed": method.speed, "mirrors": method.mirror,
             "for result": method.waits_for_result, "when good": method.outputs_when_good, "ends": method.ends}
    return " " + "; ".join(f"{name}: {fact}" for name, fact in facts.items() if fact not in ("", False, (), "none", -1))
