#pragma once
// Makes sure that a player who starts the program without a terminal, from a menu or by a double click, sees
// why it does not start.

namespace quenvarel {

// Whether the program has a console that came with it and closes with it, as on Windows by a double click.
// Never on X11, where the menu says on what to play.
bool is_double_clicked();

// From here on, what is reported on standard error is remembered. When the process then ends by exit(), it is
// shown. On X11 that is a window of its own, which any key or click closes, or a minute: no helper program is
// installed everywhere. Nothing is shown where a terminal shows it already, or where no desktop has started
// the program. On Windows a console of the program's own waits for a key, also after a list of devices.
void watch_failures();
// The program has started, or was ended by its player: nothing is shown.
void forget_failures();

} // namespace quenvarel
