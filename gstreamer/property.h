#pragma once

#include <gst/gst.h>

#include <span>

namespace kv_gst {

class Element;

/// A property of an element: what GObject has to know of it, and where its value is.
struct Property {
  enum class Kind { Integer, Number, Switch, Choice, Flags, Text };

  const char* name;
  const char* text;
  Kind kind;
  double low;
  double high;
  double initial;
  GType (*type)();  ///< of a choice or of flags; otherwise null
  bool isControllable;
  /// The value: an int, or for Number a double, for Text a std::string.
  void* (*at)(Element&);
};

template <class Class, auto member>
void* SettingOf(Element& element) {
  return &(static_cast<Class&>(element).settings.*member);
}

template <class Class, auto member>
constexpr Property Integer(const char* name, const char* text, int low, int high, int initial) {
  return {name,    text, Property::Kind::Integer, double(low), double(high), double(initial),
          nullptr, true, SettingOf<Class, member>};
}
template <class Class, auto member>
constexpr Property Number(const char* name, const char* text, double low, double high, double initial) {
  return {name, text, Property::Kind::Number, low, high, initial, nullptr, true, SettingOf<Class, member>};
}
template <class Class, auto member>
constexpr Property Switch(const char* name, const char* text, bool initial) {
  return {name,    text, Property::Kind::Switch,  0, 1, initial ? 1.0 : 0.0,
          nullptr, true, SettingOf<Class, member>};
}
template <class Class, auto member>
constexpr Property Choice(const char* name, const char* text, GType (*type)(), int initial) {
  return {name, text, Property::Kind::Choice, 0, 0, double(initial), type, true, SettingOf<Class, member>};
}
/// Those that caps, or what was made of them, depend on: no controller drives them.
template <class Class, auto member>
constexpr Property CapsChoice(const char* name, const char* text, GType (*type)(), int initial) {
  return {name, text, Property::Kind::Choice, 0, 0, double(initial), type, false, SettingOf<Class, member>};
}
template <class Class, auto member>
constexpr Property CapsInteger(const char* name, const char* text, int low, int high, int initial) {
  Property property = Integer<Class, member>(name, text, low, high, initial);
  property.isControllable = false;
  return property;
}
template <class Class, auto member>
constexpr Property CapsNumber(const char* name, const char* text, double low, double high, double initial) {
  Property property = Number<Class, member>(name, text, low, high, initial);
  property.isControllable = false;
  return property;
}
template <class Class, auto member>
constexpr Property Flags(const char* name, const char* text, GType (*type)(), int initial) {
  return {name, text, Property::Kind::Flags, 0, 0, double(initial), type, true, SettingOf<Class, member>};
}

/// Adds those that every element has, "threads" and "member", and then the element's own.
void InstallProperties(GObjectClass* objects, std::span<const Property> properties);
void SetProperty(Element& element, std::span<const Property> properties, guint id, const GValue* value);
void GetProperty(Element& element, std::span<const Property> properties, guint id, GValue* value);

}  // namespace kv_gst
