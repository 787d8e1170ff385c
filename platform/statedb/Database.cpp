#include "platform/statedb/Database.h"

#include <string>
#include <vector>

#include "platform/zel/Allocate.h"
#include "platform/zel/Exception.h"

namespace Statedb {

namespace {

std::vector<std::string_view> splitPath(std::string_view path) {
  std::vector<std::string_view> parts;
  while (!path.empty()) {
    std::size_t slash = path.find('/');
    std::string_view part = path.substr(0, slash);
    if (!part.empty()) parts.push_back(part);
    if (slash == std::string_view::npos) break;
    path.remove_prefix(slash + 1);
  }
  return parts;
}

Zel::Name toName(std::string_view part) {
  return Zel::Name(part.data(), part.size());
}

}  // namespace

Zel::Ptr<Database> Database::databaseIs() {
  return Zel::allocate<Database>();
}

Database::Database() : root_(Zel::Dir::dirIs("")) {}

Zel::Ptr<Zel::Entity> Database::entity(Zel::String const& path) const {
  auto parts = splitPath(path.view());
  if (parts.empty()) return nullptr;
  Zel::Ptr<Zel::Entity> current = root_;
  for (auto part : parts) {
    auto* dir = dynamic_cast<Zel::Dir*>(current.ptr());
    if (!dir) return nullptr;
    current = dir->entityRef(toName(part));
    if (!current) return nullptr;
  }
  return current;
}

Zel::Ptr<Zel::Dir> Database::parentDirIs(Zel::String const& path, Zel::Name& leaf) {
  auto parts = splitPath(path.view());
  if (parts.empty()) Zel::throwRangeException("empty database path");
  Zel::Ptr<Zel::Dir> dir = root_;
  for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
    Zel::Ptr<Zel::Entity> next = dir->entryIs(toName(parts[i]), "Zel::Dir");
    dir = Zel::ptrCast<Zel::Dir>(next);
    if (!dir) {
      std::string text = "\"";
      text.append(parts[i]).append("\" in \"").append(path.view()).append("\" is not a directory");
      Zel::throwRangeException(text.c_str());
    }
  }
  leaf = toName(parts.back());
  return dir;
}

Zel::Ptr<Zel::Entity> Database::entityIs(Zel::String const& path, Zel::String const& typeName) {
  Zel::Name leaf;
  Zel::Ptr<Zel::Dir> dir = parentDirIs(path, leaf);
  return dir->entryIs(leaf, typeName);
}

Zel::Ptr<Zel::Entity> Database::entityIs(Zel::String const& path,
                                         Zel::Ptr<Zel::Entity> const& entity) {
  Zel::Name leaf;
  Zel::Ptr<Zel::Dir> dir = parentDirIs(path, leaf);
  if (!entity || !(entity->name() == leaf)) {
    Zel::throwRangeException("entity name does not match its database path");
  }
  return dir->entryIs(entity);
}

Zel::Ptr<Zel::Entity> Database::entityDel(Zel::String const& path) {
  auto parts = splitPath(path.view());
  if (parts.empty()) return nullptr;
  std::string parentPath;
  for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
    parentPath.append(parts[i]).append("/");
  }
  Zel::Ptr<Zel::Dir> dir =
      parts.size() == 1 ? root_ : Zel::ptrCast<Zel::Dir>(entity(Zel::String(parentPath)));
  if (!dir) return nullptr;
  return dir->entryDel(toName(parts.back()));
}

}  // namespace Statedb
