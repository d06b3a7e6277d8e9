#pragma once

#include <pybind11/pybind11.h>

#include <string>
#include <string_view>

#include "host/core/options.h"
#include "python/src/arrays.h"

// Option sets in Python: properties, and a mapping from option strings to values.

namespace QXPython {

/// The parameter of an option string, "-NPolyMax"; KeyError.
inline QXCore::QXParameter& FindParameter(QXCore::QXOptions& options, std::string_view option) {
  for (size_t place = 0; place < options.NumParameters(); ++place) {
    QXCore::QXParameter* const parameter = options.GetParameter(place);
    if (parameter && parameter->GetOption() == option) return *parameter;
  }
  throw py::key_error(std::string(option));
}

inline py::object GetOption(QXCore::QXOptions& options, std::string_view option) {
  const QXCore::QXParameter& parameter = FindParameter(options, option);
  if (dynamic_cast<const QXCore::QXBoolParameter*>(&parameter)) {
    bool value;
    parameter.GetValue(value, false);
    return py::bool_(value);
  }
  if (dynamic_cast<const QXCore::QXUIntParameter*>(&parameter)) {
    unsigned int value;
    parameter.GetValue(value, false);
    return py::int_(value);
  }
  double value;
  parameter.GetValue(value, false);
  return py::float_(value);
}

/// Sets the value from anything whose text is one: 10, np.int64(10), "10", True, "true".
/// ValueError "-NPolyMax: 200 is not legal: 0 to 100". Numbers that are not integers are widths,
/// and must be positive: the sets themselves let every number pass.
inline void SetOption(QXCore::QXOptions& options, std::string_view option, py::handle value) {
  QXCore::QXParameter& parameter = FindParameter(options, option);
  std::string text = py::str(value);
  const bool isBool = dynamic_cast<QXCore::QXBoolParameter*>(&parameter) != nullptr;
  if (isBool && (text == "True" || text == "False")) text[0] = static_cast<char>(text[0] + 32);
  const bool isWidth = dynamic_cast<QXCore::QXDoubleParameter*>(&parameter) != nullptr;
  const std::string before = parameter.GetText();
  if (parameter.SetFromText(text)) {
    double width = 1.0;
    if (!isWidth || (parameter.GetValue(width, false) && width > 0.0)) return;
    parameter.SetFromText(before);
  }
  std::string legal = parameter.GetLegalText();
  if (legal.empty()) legal = isBool ? "true or false" : isWidth ? "above 0, finite" : "0 or more";
  throw py::value_error(std::string(option) + ": " + text + " is not legal: " + legal);
}

/// Sets values from text as on a command line, "-NPolyMax 10 -UseSingleLambda false", all or none.
template <typename Options>
void SetOptions(Options& options, const std::string& text) {
  Options changed(options);
  const py::list words = py::str(text).attr("split")();
  if (words.size() % 2 != 0) throw py::value_error("options: expected pairs of option and value");
  for (size_t i = 0; i < words.size(); i += 2) {
    SetOption(changed, words[i].cast<std::string>(), words[i + 1]);
  }
  options = changed;
}

/// The option strings, in the order of the set.
inline py::list OptionKeys(QXCore::QXOptions& options) {
  py::list keys;
  for (size_t place = 0; place < options.NumParameters(); ++place) {
    if (options.GetParameter(place)) keys.append(options.GetParameter(place)->GetOption());
  }
  return keys;
}

inline py::dict OptionDict(QXCore::QXOptions& options) {
  py::dict values;
  for (const py::handle key : OptionKeys(options)) {
    values[key] = GetOption(options, key.cast<std::string>());
  }
  return values;
}

/// What all option sets have in common: the mapping, equality, copies and pickles.
template <typename Options, typename... Extra>
void AddOptionMapping(py::class_<Options, Extra...>& set) {
  set.def("__getitem__", [](Options& o, const std::string& option) { return GetOption(o, option); })
      .def("__setitem__", [](Options& o, const std::string& option,
                             py::handle value) { SetOption(o, option, value); })
      .def("set", &SetOptions<Options>, py::arg("text"),
           "Set values from text: options.set(\"-NPolyMax 10 -UseSingleLambda false\"). On a\n"
           "KeyError or ValueError nothing has changed.")
      .def(
          "keys", [](Options& o) { return OptionKeys(o); }, "The option strings.")
      .def("items", [](Options& o) { return OptionDict(o).attr("items")(); })
      .def("__iter__", [](Options& o) { return py::iter(OptionKeys(o)); })
      .def("__len__", [](Options& o) { return OptionKeys(o).size(); })
      .def("__contains__",
           [](Options& o, py::handle option) { return OptionKeys(o).contains(option); })
      .def("__eq__",
           [](Options& a, py::handle other) -> py::object {
             if (!py::isinstance<Options>(other))
               return py::reinterpret_borrow<py::object>(Py_NotImplemented);
             return py::bool_(OptionDict(a).equal(OptionDict(py::cast<Options&>(other))));
           })
      .def("__copy__", [](const Options& o) { return Options(o); })
      .def("__deepcopy__", [](const Options& o, py::handle) { return Options(o); })
      .def(py::pickle([](Options& o) { return OptionDict(o); },
                      [](const py::dict& values) {
                        Options options;
                        for (const auto& [option, value] : values) {
                          SetOption(options, py::cast<std::string>(option), value);
                        }
                        return options;
                      }));
}

/// A property for one option.
template <typename Class>
void AddOptionProperty(Class& set, const char* name, const char* option, const char* doc) {
  using Options = typename Class::type;
  set.def_property(
      name, [option](Options& o) { return GetOption(o, option); },
      [option](Options& o, py::handle value) { SetOption(o, option, value); }, doc);
}

}  // namespace QXPython
