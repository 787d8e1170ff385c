// The commands of the script language as the parser knows them: each verb with its forms and
// one line on what it does. The parser dispatches on this table and `help` prints it, so the
// two cannot drift apart.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace Host {

struct CommandSyntax {
  std::string_view verb;
  std::string_view usage;    // one form a line
  std::string_view summary;  // one line
};

std::span<CommandSyntax const> commandTable();

// `help` lists every command, `help VERB` the forms of one, from `commands` and then `extra`
// (commands that a live console adds, such as `lamp test`).
std::string commandHelp(std::string_view topic, std::span<CommandSyntax const> commands,
                        std::span<CommandSyntax const> extra = {});

}  // namespace Host
