// What the tool asks of the system it runs on: whether somebody reads along, and whether the user wants to stop.
#pragma once

namespace kestrine::cli::terminal {

// Whether standard error, where progress is shown, is a terminal.
bool shows_progress();

// From here on the first interrupt or termination signal only asks to stop; the next one ends the process.
void watch_for_stop();
bool stop_asked();

}  // namespace kestrine::cli::terminal
