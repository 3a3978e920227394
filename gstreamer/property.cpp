#include "gstreamer/property.h"

#include <array>
#include <string>

#include "gstreamer/element.h"

namespace kv_gst {
namespace {

void* Threads(Element& element) {
  return &element.common.threads;
}
void* Member(Element& element) {
  return &element.common.member;
}

constexpr std::array commonProperties = {
    Property{"threads",
             "Threads that work on a frame; 0: one for each processor. The bytes do not depend on it.",
             Property::Kind::Integer, 0, 256, 1, nullptr, true, Threads},
    Property{
        "member",
        "The one member of the family to use, such as kv_algoC; unset: the best that this processor runs",
        Property::Kind::Text, 0, 0, 0, nullptr, false, Member},
};

const Property& Find(std::span<const Property> properties, guint id) {
  const std::size_t index = id - 1;
  return index < commonProperties.size() ? commonProperties[index]
                                         : properties[index - commonProperties.size()];
}

GParamSpec* SpecOf(const Property& property) {
  auto flags =
      static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_MUTABLE_PLAYING);
  if (property.isControllable) flags = static_cast<GParamFlags>(flags | GST_PARAM_CONTROLLABLE);
  const auto whole = [](double value) { return static_cast<int>(value); };
  const char* name = property.name;
  const char* text = property.text;
  switch (property.kind) {
    case Property::Kind::Integer:
      return g_param_spec_int(name, name, text, whole(property.low), whole(property.high),
                              whole(property.initial), flags);
    case Property::Kind::Number:
      return g_param_spec_double(name, name, text, property.low, property.high, property.initial, flags);
    case Property::Kind::Switch:
      return g_param_spec_boolean(name, name, text, property.initial != 0 ? TRUE : FALSE, flags);
    case Property::Kind::Choice:
      return g_param_spec_enum(name, name, text, property.type(), whole(property.initial), flags);
    case Property::Kind::Flags:
      return g_param_spec_flags(name, name, text, property.type(), static_cast<guint>(property.initial),
                                flags);
    case Property::Kind::Text:
      break;
  }
  return g_param_spec_string(name, name, text, nullptr, flags);
}

}  // namespace

void InstallProperties(GObjectClass* objects, std::span<const Property> properties) {
  const std::size_t count = commonProperties.size() + properties.size();
  for (guint id = 1; id <= count; ++id) {
    g_object_class_install_property(objects, id, SpecOf(Find(properties, id)));
  }
}

void SetProperty(Element& element, std::span<const Property> properties, guint id, const GValue* value) {
  const Property& property = Find(properties, id);
  const ElementLock lock(element);
  void* at = property.at(element);
  switch (property.kind) {
    case Property::Kind::Integer:
      *static_cast<int*>(at) = g_value_get_int(value);
      break;
    case Property::Kind::Number:
      *static_cast<double*>(at) = g_value_get_double(value);
      break;
    case Property::Kind::Switch:
      *static_cast<int*>(at) = g_value_get_boolean(value);
      break;
    case Property::Kind::Choice:
      *static_cast<int*>(at) = g_value_get_enum(value);
      break;
    case Property::Kind::Flags:
      *static_cast<int*>(at) = static_cast<int>(g_value_get_flags(value));
      break;
    case Property::Kind::Text: {
      const char* text = g_value_get_string(value);
      *static_cast<std::string*>(at) = text != nullptr ? text : "";
      break;
    }
  }
}

void GetProperty(Element& element, std::span<const Property> properties, guint id, GValue* value) {
  const Property& property = Find(properties, id);
  const ElementLock lock(element);
  const void* at = property.at(element);
  switch (property.kind) {
    case Property::Kind::Integer:
      g_value_set_int(value, *static_cast<const int*>(at));
      break;
    case Property::Kind::Number:
      g_value_set_double(value, *static_cast<const double*>(at));
      break;
    case Property::Kind::Switch:
      g_value_set_boolean(value, *static_cast<const int*>(at));
      break;
    case Property::Kind::Choice:
      g_value_set_enum(value, *static_cast<const int*>(at));
      break;
    case Property::Kind::Flags:
      g_value_set_flags(value, static_cast<guint>(*static_cast<const int*>(at)));
      break;
    case Property::Kind::Text: {
      const auto& text = *static_cast<const std::string*>(at);
      g_value_set_string(value, text.empty() ? nullptr : text.c_str());
      break;
    }
  }
}

}  // namespace kv_gst
