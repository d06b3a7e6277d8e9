#include "host/core/options.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <type_traits>

#include "host/core/throw.h"

namespace QXCore {
namespace {

template <typename T>
std::optional<T> Parse(const std::string& text) {
  if constexpr (std::is_same_v<T, bool>) {
    if (text == "true") return true;
    if (text == "false") return false;
    return std::nullopt;
  } else {
    T value{};
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || rest != end) return std::nullopt;
    if constexpr (std::is_floating_point_v<T>) {
      if (!std::isfinite(value)) return std::nullopt;
    }
    return value;
  }
}

template <typename T>
std::string Print(T value) {
  if constexpr (std::is_same_v<T, bool>) {
    return value ? "true" : "false";
  } else {
    char text[32];  // the shortest text that reads back as a double has at most 24 characters
    const auto result = std::to_chars(text, text + sizeof text, value);
    return std::string(text, result.ptr);
  }
}

bool TypeWarning(const QXParameter& parameter) {
  QXThrow.Warning("The option %s has another type than the one asked for.",
                  parameter.GetOption().c_str());
  return false;
}

}  // namespace

bool QXParameter::GetValue(bool&, bool) const {
  return TypeWarning(*this);
}
bool QXParameter::GetValue(unsigned int&, bool) const {
  return TypeWarning(*this);
}
bool QXParameter::GetValue(double&, bool) const {
  return TypeWarning(*this);
}
bool QXParameter::SetValue(const bool&) {
  return TypeWarning(*this);
}
bool QXParameter::SetValue(const unsigned int&) {
  return TypeWarning(*this);
}
bool QXParameter::SetValue(const double&) {
  return TypeWarning(*this);
}

template <typename T>
bool QXParameterT<T>::IsLegal(T value) const {
  return !ranges_ || std::any_of(ranges_->begin(), ranges_->end(), [value](const Range& r) {
    return r.low <= value && value <= r.high;
  });
}

template <typename T>
bool QXParameterT<T>::IsValid() const {
  if constexpr (std::is_floating_point_v<T>) {
    if (!std::isfinite(value_)) return false;
  }
  return IsLegal(value_);
}

template <typename T>
bool QXParameterT<T>::SetValue(const T& value) {
  if (!IsLegal(value)) {
    QXThrow.Warning("The option %s does not take %s, its legal values are %s: it keeps %s.",
                    GetOption().c_str(), Print(value).c_str(), GetLegalText().c_str(),
                    GetText().c_str());
    return false;
  }
  value_ = value;
  return true;
}

template <typename T>
void QXParameterT<T>::AddLegalRange(const std::string& high, const std::string& low) {
  const std::optional<T> top = Parse<T>(high);
  const std::optional<T> bottom = Parse<T>(low);
  if (!top || !bottom || *top < *bottom) {
    QXThrow.Error("The option %s cannot have legal values from \"%s\" to \"%s\".",
                  GetOption().c_str(), low.c_str(), high.c_str());
    return;
  }
  Ranges ranges = ranges_ ? *ranges_ : Ranges();
  ranges.push_back({*bottom, *top});
  ranges_ = std::make_shared<const Ranges>(std::move(ranges));
}

template <typename T>
bool QXParameterT<T>::SetFromText(const std::string& text) {
  const std::optional<T> value = Parse<T>(text);
  if (!value || !IsLegal(*value)) return false;
  value_ = *value;
  return true;
}

template <typename T>
std::string QXParameterT<T>::GetText() const {
  return Print(value_);
}

template <typename T>
std::string QXParameterT<T>::GetLegalText() const {
  std::string text;
  if (!ranges_) return text;
  for (const Range& range : *ranges_) {
    if (!text.empty()) text += " or ";
    if constexpr (std::is_same_v<T, bool>) {
      text += Print(range.high);
      if (range.low != range.high) text += " or " + Print(range.low);
    } else {
      text += Print(range.low) + " to " + Print(range.high);
    }
  }
  return text;
}

template <typename T>
bool QXParameterT<T>::AssignValue(const QXParameter& other) {
  // One text belongs to the copies of one parameter, so the class is the same too.
  if (!SharesText(other)) return false;
  const auto& source = static_cast<const QXParameterT&>(other);
  if (ranges_ != source.ranges_ || default_ != source.default_) return false;
  value_ = source.value_;
  return true;
}

template class QXParameterT<bool>;
template class QXParameterT<unsigned int>;
template class QXParameterT<double>;

QXOptions::QXOptions(const std::string& name, size_t numParameters, size_t /*numSubOptions*/)
    : name_(name), parameters_(numParameters) {}

QXOptions::QXOptions(const QXOptions& other) : name_(other.name_) {
  parameters_.reserve(other.parameters_.size());
  for (const auto& parameter : other.parameters_) {
    parameters_.push_back(parameter ? parameter->CreateCopy() : nullptr);
  }
}

QXOptions& QXOptions::operator=(const QXOptions& other) {
  if (this == &other) return *this;
  name_ = other.name_;
  parameters_.resize(other.parameters_.size());
  for (size_t place = 0; place < parameters_.size(); ++place) {
    const QXParameter* source = other.GetParameter(place);
    std::unique_ptr<QXParameter>& target = parameters_[place];
    if (source && target && target->AssignValue(*source)) continue;
    target = source ? source->CreateCopy() : nullptr;
  }
  return *this;
}

QXOptions::~QXOptions() = default;

bool QXOptions::Validate() const {
  return std::all_of(parameters_.begin(), parameters_.end(),
                     [](const auto& parameter) { return !parameter || parameter->IsValid(); });
}

QXOptions* QXOptions::CreateCopy() const {
  return new QXOptions(*this);
}

const QXParameter* QXOptions::GetParameter(size_t place) const {
  return place < parameters_.size() ? parameters_[place].get() : nullptr;
}

QXParameter* QXOptions::GetParameter(size_t place) {
  return place < parameters_.size() ? parameters_[place].get() : nullptr;
}

void QXOptions::SetParameter(size_t place, std::unique_ptr<QXParameter> parameter) {
  parameters_.at(place) = std::move(parameter);
}

}  // namespace QXCore
