#include "host/script/CommandWindow.h"

#include <utility>

namespace Host {

void CommandWindow::open(SourceLocation where, std::size_t traceStart) {
  where_ = std::move(where);
  traceStart_ = traceCursor_ = traceStart;
  raised_.clear();
}

std::string CommandWindow::description() const {
  if (where_.line == 0) return "the agent's start-up";
  return "the command at line " + std::to_string(where_.line);
}

void CommandWindow::raised(std::string text) {
  raised_.push_back({std::move(text), false});
}

bool CommandWindow::checkRaised(std::string_view prefix) {
  Raised* match = nullptr;
  for (Raised& raised : raised_) {
    if (!std::string_view(raised.text).starts_with(prefix)) continue;
    if (!raised.checked) {
      raised.checked = true;
      return true;
    }
    if (!match) match = &raised;
  }
  return match != nullptr;
}

std::vector<std::string> CommandWindow::uncheckedRaised() const {
  std::vector<std::string> texts;
  for (Raised const& raised : raised_) {
    if (!raised.checked) texts.push_back(raised.text);
  }
  return texts;
}

}  // namespace Host
