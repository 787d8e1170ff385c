// The gpiod backend's calls made on the GPIO character device through libgpiod 1.6.
#pragma once

#include <memory>

#include "host/pins/GpioLines.h"

namespace Drive {

std::unique_ptr<GpioLines> libgpiodLines();

}  // namespace Drive
