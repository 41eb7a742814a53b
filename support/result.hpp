#ifndef DP_SUPPORT_RESULT_HPP
#define DP_SUPPORT_RESULT_HPP

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace dp_support {

/// Why something failed.
struct failure {
    std::string reason;  ///< for a person, on one line, without a period
    int code = 0;        ///< a value of errno, or another code that the function documents; 0: none
};

/// The failure of a system call: "cannot ACTION PATH: " and the system's text for `error`, a value
/// of errno, which is also the code.
failure system_failure(std::string_view action, const std::string& path, int error);

/// A value, or why there is none.
template <class Value = void>
class [[nodiscard]] result {
  public:
    // Implicit, so that functions return either directly.
    // NOLINTNEXTLINE(google-explicit-constructor)
    result(Value value) : value_(std::move(value)) {}
    // NOLINTNEXTLINE(google-explicit-constructor)
    result(failure why) : failure_(std::move(why)) {}

    /// Whether there is a value.
    [[nodiscard]] bool ok() const { return value_.has_value(); }
    explicit operator bool() const { return ok(); }

    /// The value; only when `ok`.
    [[nodiscard]] Value& operator*() & { return *value_; }
    [[nodiscard]] const Value& operator*() const& { return *value_; }
    [[nodiscard]] Value&& operator*() && { return *std::move(value_); }
    [[nodiscard]] Value* operator->() { return &*value_; }
    [[nodiscard]] const Value* operator->() const { return &*value_; }

    /// Why there is none; an empty reason and code 0 when `ok`.
    [[nodiscard]] const failure& error() const { return failure_; }
    [[nodiscard]] const std::string& reason() const { return failure_.reason; }
    [[nodiscard]] int code() const { return failure_.code; }

  private:
    std::optional<Value> value_;
    failure failure_;
};

/// Success, or why not.
template <>
class [[nodiscard]] result<void> {
  public:
    /// Success.
    result() = default;
    // NOLINTNEXTLINE(google-explicit-constructor)
    result(failure why) : failure_(std::move(why)) {}

    [[nodiscard]] bool ok() const { return !failure_.has_value(); }
    explicit operator bool() const { return ok(); }

    /// What `next()` returns, which is called on success only; otherwise this failure.
    template <class Next>
    result and_then(Next next) const {
        return ok() ? next() : *this;
    }

    /// Why not; only on failure.
    [[nodiscard]] const failure& error() const { return *failure_; }

    /// Empty on success.
    [[nodiscard]] std::string reason() const { return ok() ? std::string() : failure_->reason; }
    /// 0 on success.
    [[nodiscard]] int code() const { return ok() ? 0 : failure_->code; }

  private:
    std::optional<failure> failure_;
};

}  // namespace dp_support

#endif
