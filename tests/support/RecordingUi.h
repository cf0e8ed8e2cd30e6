// Fakes of UserPrompt and StatusDisplay that record their calls.
#pragma once

#include <limits>
#include <string>
#include <vector>

#include "common/StatusDisplay.h"
#include "common/UserPrompt.h"

namespace fieldpost::test {

struct ShownMessage {
  std::string text;
  MessageIcon icon;
  std::string title;

  bool operator==(const ShownMessage&) const = default;
};

class RecordingPrompt final : public UserPrompt {
 public:
  std::vector<ShownMessage> messages;
  std::vector<OptionsPage> pages;
  std::vector<bool> pointer;

  void ShowMessage(std::string_view text, MessageIcon icon, std::string_view title) override {
    messages.push_back({std::string(text), icon, std::string(title)});
  }
  /// The answer of AskYesNo.
  bool answer = false;
  std::vector<ShownMessage> questions;

  bool AskYesNo(std::string_view text, MessageIcon icon, std::string_view title) override {
    questions.push_back({std::string(text), icon, std::string(title)});
    return answer;
  }
  void ShowOptions(OptionsPage page) override { pages.push_back(page); }
  void SetBusyPointer(bool busy) override { pointer.push_back(busy); }
};

class RecordingDisplay final : public StatusDisplay {
 public:
  std::vector<std::string> lines;
  std::vector<std::string> captions;
  std::vector<std::string> labels;
  std::vector<std::size_t> ranges;
  std::vector<std::size_t> positions;
  std::size_t eventTurns = 0;
  /// The number of calls of ProcessEvents after which the user cancels; never by default.
  std::size_t stopAfterTurns = std::numeric_limits<std::size_t>::max();

  void ShowStatusLine(std::string_view text) override { lines.emplace_back(text); }
  void SetStep(std::string_view text) override { captions.emplace_back(text); }
  void SetLabel(std::string_view text) override { labels.emplace_back(text); }
  void SetRange(std::size_t steps) override { ranges.push_back(steps); }
  void SetPosition(std::size_t done) override { positions.push_back(done); }
  void ProcessEvents() override { ++eventTurns; }
  [[nodiscard]] bool IsCancelled() const override { return eventTurns >= stopAfterTurns; }
};

}  // namespace fieldpost::test
