// Restricts a text box to whole numbers of a range.
#pragma once

#include <QValidator>
#include <cstdint>

#include "common/Numbers.h"
#include "common/forms/WidgetText.h"

namespace fieldpost {

/// Rejects everything but numbers of the range and the empty text. The range starts at a number of one digit
/// above 0, so that each number can be typed digit by digit.
class WidgetNumberValidator final : public QValidator {
 public:
  WidgetNumberValidator(std::int32_t least, std::int32_t most, QObject* parent)
      : QValidator(parent), least_(least), most_(most) {}

  State validate(QString& text, int& /*caret*/) const override {
    if (text.isEmpty()) return Intermediate;
    return NumberOr(FromQt(text), least_, most_, 0) == 0 ? Invalid : Acceptable;
  }

 private:
  std::int32_t least_;
  std::int32_t most_;
};

}  // namespace fieldpost
