#include "platform/zel/AllocTrack.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <new>
#include <typeindex>
#include <unordered_map>

namespace Zel {

namespace {
struct Registry {
  std::unordered_map<std::type_index, AllocTrackTypeInfo*> byType;
  std::vector<AllocTrackTypeInfo const*> inOrder;
};
Registry& registry() {
  static Registry* r = new Registry;  // never destroyed: objects may die during exit
  return *r;
}
}  // namespace

AllocTrackTypeInfo& AllocTrackTypeInfo::of(std::type_info const& type) {
  Registry& r = registry();
  auto [it, inserted] = r.byType.try_emplace(std::type_index(type), nullptr);
  if (inserted) {
    it->second = new AllocTrackTypeInfo(type);
    r.inOrder.push_back(it->second);
  }
  return *it->second;
}

std::vector<AllocTrackTypeInfo const*> AllocTrackTypeInfo::all() {
  return registry().inOrder;
}

std::string AllocTrackTypeInfo::typeName() const {
  int status = 0;
  std::unique_ptr<char, void (*)(void*)> name(
      abi::__cxa_demangle(type_->name(), nullptr, nullptr, &status), std::free);
  return status == 0 && name ? std::string(name.get()) : std::string(type_->name());
}

void* allocateBytes(std::size_t size) {
  return ::operator new(size);
}

void deallocateBytes(void* block) noexcept {
  ::operator delete(block);
}

}  // namespace Zel
