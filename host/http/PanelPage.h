// The panel page: one self-contained HTML file (SVG and a little script, nothing fetched from
// elsewhere), compiled into warden from host/http/panel.html.
#pragma once

#include <string_view>

namespace Http {

std::string_view panelPage() noexcept;

}  // namespace Http
