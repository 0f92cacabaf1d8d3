// What is put right when a signal ends the program: a half-written file goes, and so does the
// progress bar. The program then dies by that signal, so that its caller knows why.
#pragma once

#include <string>

namespace qal::tool {

// To be called once, before anything is there to put right. Signals that the caller ignores stay
// ignored.
void put_right_when_interrupted();

// The file that goes; an empty path is none. One at a time, from one thread.
void remove_when_interrupted(const std::string &path);

// Whether a progress bar stands in the terminal's line.
void erase_line_when_interrupted(bool drawn);

} // namespace qal::tool
