#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "platform/zel/Allocate.h"
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

TEST(ExceptionTest, PointerFormsTellObjectsApart) {
  struct Thing : Zel::PtrInterface {};
  Zel::Ptr<Thing> a = Zel::allocate<Thing>();
  Zel::Ptr<Thing> b = Zel::allocate<Thing>();
  EXPECT_NE(Zel::valueToStrepOfRawPtr(a.ptr()), Zel::valueToStrepOfRawPtr(b.ptr()));
  EXPECT_EQ(Zel::valueToStrepOfRawPtr(a.ptr()), Zel::valueToStrepOfRawPtr(a.ptr()));
  EXPECT_EQ(Zel::valueToStrepOfRawPtr(nullptr), "0x0");
}

}  // namespace
