#include <algorithm>
#include <sstream>

#include "host/script/CommandTable.h"

namespace Host {

namespace {

void forEachForm(std::string_view usage, auto&& visit) {
  while (!usage.empty()) {
    std::size_t const end = std::min(usage.find('\n'), usage.size());
    visit(usage.substr(0, end));
    usage.remove_prefix(std::min(end + 1, usage.size()));
  }
}

}  // namespace

std::string commandHelp(std::string_view topic, std::span<CommandSyntax const> commands,
                        std::span<CommandSyntax const> extra) {
  std::ostringstream out;
  auto each = [&](auto&& visit) {
    for (CommandSyntax const& command : commands) visit(command);
    for (CommandSyntax const& command : extra) visit(command);
  };
  if (topic.empty()) {
    std::size_t width = 0;
    each([&](CommandSyntax const& c) { width = std::max(width, c.verb.size()); });
    out << "commands (help COMMAND shows its forms):\n";
    each([&](CommandSyntax const& c) {
      out << "  " << c.verb << std::string(width - c.verb.size() + 2, ' ') << c.summary << '\n';
    });
    return out.str();
  }
  bool found = false;
  each([&](CommandSyntax const& c) {
    if (c.verb != topic) return;
    found = true;
    forEachForm(c.usage, [&out](std::string_view form) { out << "  " << form << '\n'; });
    out << "  " << c.summary << '\n';
  });
  if (!found) out << "no command '" << topic << "' (help lists them)\n";
  return out.str();
}

}  // namespace Host
