// Commands typed or piped on standard input, read from the activity loop so that the agent keeps
// running while nobody types. On a terminal it shows a prompt and edits the line (with history);
// from a pipe it reads plain lines. Complete lines and the end of input go to the owner.
#pragma once

#include <functional>
#include <string>

#include "platform/zel/ActivityManager.h"

namespace Host {

class Console {
 public:
  using LineHandler = std::function<void(std::string const& line)>;
  using EndHandler = std::function<void()>;

  Console(Zel::ActivityManager& loop, std::string prompt, LineHandler onLine, EndHandler onEnd);
  ~Console();
  Console(Console const&) = delete;
  Console& operator=(Console const&) = delete;

  bool isEditing() const noexcept { return editing_; }
  // On a terminal the prompt goes away while a typed command runs, so that the command's output
  // and the prompt do not mix; the owner brings it back when it waits for input again.
  void resume();
  // Draws the prompt and the line being typed again, after other output disturbed them.
  void redisplay();
  void resize();

 private:
  static void lineFromEditor(char* line);
  void pause();
  void watchInput();
  void readAvailable();
  void deliverBuffered(bool atEnd);
  void end();

  Zel::ActivityManager& loop_;
  std::string prompt_;
  LineHandler onLine_;
  EndHandler onEnd_;
  bool editing_ = false;
  bool ended_ = false;
  bool paused_ = false;
  std::string buffer_;
};

// True when standard input can be watched by the loop (a terminal, pipe or socket); a regular
// file or /dev/null is read to its end at once instead.
bool standardInputIsStream();

}  // namespace Host
