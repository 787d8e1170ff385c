#include "host/live/Console.h"

#include <editline/readline.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "host/script/ScriptLexer.h"

namespace Host {

namespace {

// The line editor calls back through a plain function; there is one console per process.
Console* activeConsole = nullptr;
Console::LineHandler* activeLineHandler = nullptr;

}  // namespace

bool standardInputIsStream() {
  struct stat status {};
  if (::fstat(STDIN_FILENO, &status) != 0) return false;
  return ::isatty(STDIN_FILENO) || S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode);
}

Console::Console(Zel::ActivityManager& loop, std::string prompt, LineHandler onLine,
                 EndHandler onEnd)
    : loop_(loop),
      prompt_(std::move(prompt)),
      onLine_(std::move(onLine)),
      onEnd_(std::move(onEnd)) {
  editing_ = ::isatty(STDIN_FILENO) != 0;
  if (editing_) {
    activeConsole = this;
    activeLineHandler = &onLine_;
    rl_instream = stdin;
    rl_outstream = ::isatty(STDOUT_FILENO) ? stdout : stderr;
    rl_callback_handler_install(prompt_.c_str(), &Console::lineFromEditor);
  }
  watchInput();
}

Console::~Console() {
  loop_.fdReadableIs(STDIN_FILENO, nullptr);
  if (editing_) {
    if (!paused_ && !ended_) rl_callback_handler_remove();
    activeConsole = nullptr;
    activeLineHandler = nullptr;
  }
}

void Console::watchInput() {
  if (editing_) {
    loop_.fdReadableIs(STDIN_FILENO, [] { rl_callback_read_char(); });
  } else {
    loop_.fdReadableIs(STDIN_FILENO, [this] { readAvailable(); });
  }
}

void Console::pause() {
  if (!editing_ || paused_ || ended_) return;
  paused_ = true;
  loop_.fdReadableIs(STDIN_FILENO, nullptr);  // what is typed meanwhile waits in the terminal
  rl_callback_handler_remove();
}

void Console::resume() {
  if (!paused_ || ended_) return;
  paused_ = false;
  rl_callback_handler_install(prompt_.c_str(), &Console::lineFromEditor);
  watchInput();
}

void Console::redisplay() {
  if (editing_ && !ended_ && !paused_) rl_forced_update_display();
}

void Console::resize() {
  if (editing_ && !ended_ && !paused_) rl_resize_terminal();
}

void Console::lineFromEditor(char* line) {
  Console* console = activeConsole;
  if (!console) {
    std::free(line);
    return;
  }
  if (!line) {
    std::fputc('\n', rl_outstream);  // Ctrl-D leaves the prompt line unfinished
    console->end();
    return;
  }
  std::string text(line);
  std::free(line);
  if (text.find_first_not_of(" \t") != std::string::npos) add_history(text.c_str());
  console->pause();
  (*activeLineHandler)(text);
}

void Console::readAvailable() {
  char chunk[4096];
  ssize_t const count = ::read(STDIN_FILENO, chunk, sizeof chunk);
  if (count < 0) {
    if (errno == EAGAIN || errno == EINTR) return;
    deliverBuffered(true);
    end();
    return;
  }
  if (count == 0) {
    deliverBuffered(true);
    end();
    return;
  }
  buffer_.append(chunk, static_cast<std::size_t>(count));
  deliverBuffered(false);
}

void Console::deliverBuffered(bool atEnd) {
  std::size_t newline;
  while ((newline = buffer_.find('\n')) != std::string::npos) {
    std::string line = buffer_.substr(0, newline);
    buffer_.erase(0, newline + 1);
    onLine_(line);
  }
  // Input without line ends must not grow without bound: hand it on, the parser refuses it.
  if (atEnd || buffer_.size() > 2 * kMaxLineLength) {
    if (!buffer_.empty()) onLine_(buffer_);
    buffer_.clear();
  }
}

void Console::end() {
  if (ended_) return;
  ended_ = true;
  loop_.fdReadableIs(STDIN_FILENO, nullptr);
  if (editing_) rl_callback_handler_remove();
  if (onEnd_) onEnd_();
}

}  // namespace Host
