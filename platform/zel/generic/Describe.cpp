#include "platform/zel/generic/Describe.h"

#include <exception>
#include <ostream>
#include <string>
#include <unordered_set>

#include "platform/zel/Entity.h"
#include "platform/zel/generic/Access.h"

namespace Zel::GenericIf {

namespace {

class Printer {
 public:
  explicit Printer(std::ostream& out) : out_(out) {}

  void top(PtrInterface const& object, int depth) {
    out_ << heading(object) << '\n';
    expand(object, 1, depth);
  }

 private:
  static bool isEntity(PtrInterface const& object) {
    return dynamic_cast<Entity const*>(&object) != nullptr;
  }

  static std::string heading(PtrInterface const& object) {
    if (!isEntity(object)) return referenceOf(object);
    return referenceOf(object) + " (" + typeNameOf(object) + ")";
  }

  // An object of plain values only, such as a pin: cheap to show wherever it is referenced, and
  // most useful next to what references it.
  static bool isLeaf(PtrInterface const& object) {
    for (AttributeInfo const* info : attributeInfos(object)) {
      if (info->kind == AttributeKind::pointer || info->kind == AttributeKind::collection) {
        return false;
      }
    }
    return true;
  }

  void indent(int level) {
    for (int i = 0; i < level; ++i) out_ << "  ";
  }

  void expand(PtrInterface const& object, int level, int depth) {
    shown_.insert(&object);
    bool const entity = isEntity(object);
    for (AttributeInfo const* info : attributeInfos(object)) {
      if (info->kind == AttributeKind::procedure) continue;
      if (entity && info->name == Name("name")) continue;
      if (info->kind == AttributeKind::collection) {
        if (info->allows(Operation::iterate)) collection(object, *info, level, depth);
      } else if (info->allows(Operation::get)) {
        attribute(object, *info, level, depth);
      }
    }
  }

  void attribute(PtrInterface const& object, AttributeInfo const& info, int level, int depth) {
    Value value;
    try {
      value = get(object, info.name);
    } catch (std::exception const& error) {
      indent(level);
      out_ << info.name << ": (unreadable: " << error.what() << ")\n";
      return;
    }
    line(info.name.stdString(), value, level, depth);
  }

  void collection(PtrInterface const& object, AttributeInfo const& info, int level, int depth) {
    Members const members = iterate(object, info.name);
    indent(level);
    out_ << info.name << ':' << (members.empty() ? " (empty)" : "") << '\n';
    for (Member const& member : members)
      line(member.key.stdString(), member.value, level + 1, depth);
  }

  // One "label: value" line, followed by the attributes of the object it points to while depth
  // remains.
  void line(std::string const& label, Value const& value, int level, int depth) {
    indent(level);
    Ptr<PtrInterface> object = value.isObject() ? value.asObject() : nullptr;
    if (!object) {
      out_ << label << ": " << value << '\n';
      return;
    }
    out_ << label << ": " << heading(*object);
    bool const expandable = attributeTableOf(*object) != nullptr;
    if (expandable && !isLeaf(*object) && shown_.count(object.ptr())) {
      out_ << ", shown above\n";
      return;
    }
    out_ << '\n';
    if (expandable && depth > 0) expand(*object, level + 1, depth - 1);
  }

  std::ostream& out_;
  std::unordered_set<PtrInterface const*> shown_;
};

}  // namespace

void describe(std::ostream& out, PtrInterface const& object, int depth) {
  Printer(out).top(object, depth);
}

}  // namespace Zel::GenericIf
