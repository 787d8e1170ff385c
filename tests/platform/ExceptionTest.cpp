#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "platform/zel/Exception.h"

namespace {

TEST(ExceptionTest, RangeExceptionCarriesTheExactText) {
  std::string const quoted = "bad parameter\"";  // a trailing quote belongs to the text
  try {
    Zel::throwRangeException(quoted.c_str());
    FAIL() << "nothing raised";
  } catch (std::range_error const& e) {
    EXPECT_NE(dynamic_cast<Zel::RangeException const*>(&e), nullptr);
    EXPECT_EQ(e.what(), quoted);
  }
}

}  // namespace
