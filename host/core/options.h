#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace QXCore {

/// One option of an option set: an option string ("-NPolyMax"), a current and a default value, a
/// brief text and legal values. The value type is that of the derived class; the accessors of the
/// other types report a warning and return false.
class QXParameter {
 public:
  /// A parameter of this option string, "-NPolyMax".
  explicit QXParameter(std::string option)
      : text_(std::make_shared<const Text>(Text{std::move(option), {}})) {}
  virtual ~QXParameter() = default;

  /// Reads the current value, or the default value with `getDefault`.
  virtual bool GetValue(bool& value, bool getDefault) const;
  virtual bool GetValue(unsigned int& value, bool getDefault) const;
  virtual bool GetValue(double& value, bool getDefault) const;

  /// Sets the current value. A value that is not legal is refused: a warning names option, value
  /// and legal values, the old value stays, and the result is false.
  virtual bool SetValue(const bool& value);
  virtual bool SetValue(const unsigned int& value);
  virtual bool SetValue(const double& value);

  /// Adds `low` to `high`, both included, to the legal values. With no range every value is legal.
  /// The bounds are texts of the value type ("100" and "0", "true" and "false"); bounds that are
  /// not, or in the wrong order, are reported as an error and add nothing.
  virtual void AddLegalRange(const std::string& high, const std::string& low) = 0;

  /// Sets the value from a text as typed by a person: the whole text must be a legal value of the
  /// type, without blanks; doubles must be finite. Otherwise false, with no change and no report.
  virtual bool SetFromText(const std::string& text) = 0;
  /// The current value as a text that SetFromText reads back without loss.
  virtual std::string GetText() const = 0;
  /// The legal values for people: "0 to 100", "true or false", or empty when all are legal.
  virtual std::string GetLegalText() const = 0;
  /// True when the current value is legal; a double must also be finite.
  virtual bool IsValid() const = 0;
  virtual std::unique_ptr<QXParameter> CreateCopy() const = 0;
  /// Takes over the current value of a copy of the same parameter, and nothing else; false, with no
  /// change, when `other` is not one. Assigning option sets goes through it, without allocation.
  virtual bool AssignValue(const QXParameter& other) = 0;

  /// A sentence about the option, for people.
  void SetBrief(const std::string& brief) {
    text_ = std::make_shared<const Text>(Text{text_->option, brief});
  }
  /// The option string, "-NPolyMax", and the sentence.
  const std::string& GetOption() const { return text_->option; }
  const std::string& GetBrief() const { return text_->brief; }

 protected:
  QXParameter(const QXParameter&) = default;
  QXParameter& operator=(const QXParameter&) = default;
  bool SharesText(const QXParameter& other) const { return text_ == other.text_; }

 private:
  struct Text {
    std::string option;
    std::string brief;
  };
  std::shared_ptr<const Text> text_;  // never changed once made: copies share it
};

/// A parameter with values of type T: bool, unsigned int or double.
template <typename T>
class QXParameterT : public QXParameter {
 public:
  /// With the default for its value. Without legal values yet: all are legal.
  QXParameterT(const std::string& option, T defaultValue)
      : QXParameter(option), value_(defaultValue), default_(defaultValue) {}

  using QXParameter::GetValue;
  using QXParameter::SetValue;
  bool GetValue(T& value, bool getDefault) const override {
    value = getDefault ? default_ : value_;
    return true;
  }
  bool SetValue(const T& value) override;
  void AddLegalRange(const std::string& high, const std::string& low) override;
  bool SetFromText(const std::string& text) override;
  std::string GetText() const override;
  std::string GetLegalText() const override;
  bool IsValid() const override;
  std::unique_ptr<QXParameter> CreateCopy() const override {
    return std::make_unique<QXParameterT>(*this);
  }
  bool AssignValue(const QXParameter& other) override;

 private:
  struct Range {
    T low;
    T high;
  };
  using Ranges = std::vector<Range>;
  bool IsLegal(T value) const;

  T value_;
  T default_;
  std::shared_ptr<const Ranges> ranges_;  // null: all legal; never changed once made
};

extern template class QXParameterT<bool>;
extern template class QXParameterT<unsigned int>;
extern template class QXParameterT<double>;

/// The three kinds of options that there are.
using QXBoolParameter = QXParameterT<bool>;
using QXUIntParameter = QXParameterT<unsigned int>;
using QXDoubleParameter = QXParameterT<double>;

/// A named set of options, with as many places as the constructor says; the derived class fills
/// them in its constructor and gives each value an accessor. A copy is deep.
class QXOptions {
 public:
  /// There are no nested option sets: `numSubOptions` is 0 in every set.
  QXOptions(const std::string& name, size_t numParameters, size_t numSubOptions);
  QXOptions(const QXOptions& other);
  QXOptions& operator=(const QXOptions& other);
  virtual ~QXOptions();

  /// True when every parameter holds a legal value.
  virtual bool Validate() const;
  /// A new object of the most derived class; the caller owns it.
  virtual QXOptions* CreateCopy() const;

  /// The name of the set, and how many places it has.
  const std::string& GetName() const { return name_; }
  size_t NumParameters() const { return parameters_.size(); }
  /// The parameter in a place, owned by the set; null for a place that is empty or past the end.
  const QXParameter* GetParameter(size_t place) const;
  QXParameter* GetParameter(size_t place);

 protected:
  /// Puts a parameter into its place; one that stood there is destroyed.
  void SetParameter(size_t place, std::unique_ptr<QXParameter> parameter);

 private:
  std::string name_;
  std::vector<std::unique_ptr<QXParameter>> parameters_;
};

}  // namespace QXCore
