// SPDX-License-Identifier: MIT
#include "console/Shell.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <utility>

#include <editline/readline.h>
#include <sys/stat.h>

namespace console {

namespace {

constexpr int kLongestHistory = 1000; // lines
constexpr const char* kPrompt = "gatecast> ";

Shell* the_shell = nullptr; // the library calls plain functions

std::vector<std::string>& candidates() {
    static std::vector<std::string> list;
    return list;
}

/// The library asks for one candidate after another, and frees each.
char* next_candidate(const char*, int state) {
    static std::size_t next;
    if (state == 0) next = 0;
    if (next >= candidates().size()) return nullptr;
    return ::strdup(candidates()[next++].c_str());
}

} // namespace

Shell::Shell(std::string history, Complete complete, Line line)
    : history_(std::move(history)), complete_(std::move(complete)), line_(std::move(line)) {
    the_shell = this;
    static char name[] = "gatecast";
    static char breaks[] = " \t";
    rl_readline_name = name;
    rl_initialize();
    rl_completer_word_break_characters = breaks;
    rl_attempted_completion_function = &Shell::choices;
    using_history();
    stifle_history(kLongestHistory);
    if (!history_.empty()) read_history(history_.c_str());
}

Shell::~Shell() {
    hide();
    rl_callback_handler_remove();
    if (!history_.empty()) {
        const mode_t mask = ::umask(077); // what was typed is nobody else's affair
        write_history(history_.c_str());
        ::umask(mask);
    }
    the_shell = nullptr;
}

void Shell::show() {
    if (std::exchange(shown_, true)) return;
    if (std::exchange(asking_, true)) {
        rl_forced_update_display();
    } else {
        rl_callback_handler_install(kPrompt, &Shell::take);
    }
}

void Shell::hide() {
    if (!std::exchange(shown_, false)) return;
    std::cout << "\r\x1b[K" << std::flush;
}

void Shell::read() { rl_callback_read_char(); }

void Shell::drop() {
    if (!std::exchange(asking_, false)) return;
    rl_callback_handler_remove();
    std::cout << std::endl;
    shown_ = false;
}

void Shell::take(char* text) {
    Shell& shell = *the_shell;
    rl_callback_handler_remove();
    shell.asking_ = false;
    shell.shown_ = false;
    if (text == nullptr) {
        std::cout << std::endl;
        shell.line_(std::nullopt);
        return;
    }
    const std::string line = text;
    std::free(text);
    if (line.find_first_not_of(" \t") != std::string::npos) add_history(line.c_str());
    shell.line_(line);
}

char** Shell::choices(const char* word, int, int end) {
    rl_attempted_completion_over = 1; // no names of files
    const std::string line(rl_line_buffer, static_cast<std::size_t>(end));
    candidates() = the_shell->complete_(line);
    return rl_completion_matches(word, &next_candidate);
}

} // namespace console
