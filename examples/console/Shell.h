// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace console {

/// A terminal with a line that can be edited, its history, and completion by the tabulator key.
///
/// There is one at a time: the terminal is one, and so is the library that edits its line. Events
/// may be printed at any time, after `hide`. Threads: one at a time.
class Shell {
public:
    /// What the last word of a line may become.
    using Complete = std::function<std::vector<std::string>(const std::string& line)>;
    /// A line was typed; none when there will be no further one.
    using Line = std::function<void(const std::optional<std::string>& line)>;

    /// Reads the lines of earlier days from the file.
    /// @param history  the file's name; empty for no memory of earlier days.
    Shell(std::string history, Complete complete, Line line);
    /// Gives the terminal back as it was, and writes the history.
    ~Shell();
    Shell(const Shell&) = delete;
    Shell& operator=(const Shell&) = delete;

    /// Asks for a line: shows the prompt, and what was typed of the line already.
    void show();
    /// Takes prompt and line away, so that something can be printed. Nothing happens if they aren't
    /// shown.
    void hide();
    /// Takes what was typed; it must be there, or this waits for it.
    void read();
    /// Begins the line afresh, after Control-C.
    void drop();

private:
    static void take(char* line);
    static char** choices(const char* word, int begin, int end);

    const std::string history_;
    const Complete complete_;
    const Line line_;
    bool asking_ = false; // between `show` and the end of the line
    bool shown_ = false;
};

} // namespace console
