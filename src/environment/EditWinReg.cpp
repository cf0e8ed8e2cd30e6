#include "environment/EditWinReg.h"

#include <fmt/format.h>

#include <charconv>
#include <optional>

#include "common/Text.h"

namespace fieldpost {
namespace {

constexpr std::int32_t UnknownType = -1;
constexpr std::size_t NumberBytes = 4;

std::string TextOf(const RegValue& value) {
  const std::string* text = std::get_if<std::string>(&value);
  return text != nullptr ? *text : fmt::format("{}", std::get<std::int32_t>(value));
}

std::optional<std::int32_t> NumberOf(const RegValue& value) {
  if (const std::int32_t* number = std::get_if<std::int32_t>(&value)) return *number;
  std::string_view digits = Trimmed(std::get<std::string>(value));
  if (digits.starts_with('+') && !digits.starts_with("+-")) digits.remove_prefix(1);
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return number;
}

std::string BytesOf(std::int32_t number) {
  std::string bytes;
  for (auto rest = static_cast<std::uint32_t>(number); bytes.size() < NumberBytes; rest >>= 8U) {
    bytes += static_cast<char>(rest & 0xFFU);
  }
  return bytes;
}

std::int32_t NumberIn(std::string_view bytes) {
  std::uint32_t number = 0;
  for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte) {
    number = (number << 8U) | static_cast<unsigned char>(*byte);
  }
  return static_cast<std::int32_t>(number);
}

}  // namespace

void EditWinReg::DeleteKey(KeyHandle lPredefinedKey, std::string_view sKeyName) {
  static_cast<void>(store_.DeleteKey(lPredefinedKey, sKeyName));
}

void EditWinReg::DeleteValue(KeyHandle lPredefinedKey, std::string_view sKeyName,
                             std::string_view sValueName) {
  OpenedKey key(store_);
  if (key.Open(lPredefinedKey, sKeyName, KeyAllAccess) != KeyOk) return;
  static_cast<void>(store_.DeleteValue(key.Handle(), sValueName));
}

std::int32_t EditWinReg::SetValueEx(KeyHandle hKey, std::string_view sValueName, std::int32_t lType,
                                    const RegValue& vValue) {
  if (lType == REG_SZ) return store_.SetValue(hKey, sValueName, KeyTypeText, TextOf(vValue));
  if (lType != REG_DWORD) return KeyOk;
  const std::optional<std::int32_t> number = NumberOf(vValue);
  if (!number) return KeyBadArgument;
  return store_.SetValue(hKey, sValueName, KeyTypeNumber, BytesOf(*number));
}

std::int32_t EditWinReg::QueryValueEx(KeyHandle lhKey, std::string_view szValueName, RegValue& vValue) {
  KeyData data;
  if (const KeyStatus status = store_.QueryValue(lhKey, szValueName, data); status != KeyOk) return status;
  if (data.type == KeyTypeText) {
    vValue = std::move(data.bytes);
    return KeyOk;
  }
  if (data.type != KeyTypeNumber) return UnknownType;
  if (data.bytes.size() > NumberBytes) return KeyMoreData;
  vValue = NumberIn(data.bytes);
  return KeyOk;
}

void EditWinReg::CreateNewKey(KeyHandle lPredefinedKey, std::string_view sNewKeyName) {
  OpenedKey key(store_);
  static_cast<void>(key.Create(lPredefinedKey, sNewKeyName, KeyMayCreateSubkeys));
}

void EditWinReg::SetKeyValue(KeyHandle lPredefinedKey, std::string_view sKeyName, std::string_view sValueName,
                             const RegValue& vValueSetting, std::int32_t lValueType) {
  OpenedKey key(store_);
  if (key.Open(lPredefinedKey, sKeyName, KeyMaySetValues) != KeyOk) return;
  static_cast<void>(SetValueEx(key.Handle(), sValueName, lValueType, vValueSetting));
}

RegValue EditWinReg::QueryValue(KeyHandle lPredefinedKey, std::string_view sKeyName,
                                std::string_view sValueName) {
  OpenedKey key(store_);
  RegValue value;
  if (key.Open(lPredefinedKey, sKeyName, KeyReadAccess) != KeyOk) return value;
  static_cast<void>(QueryValueEx(key.Handle(), sValueName, value));
  if (std::string* text = std::get_if<std::string>(&value); text != nullptr && !text->empty())
    text->pop_back();
  return value;
}

std::string EditWinReg::QueryText(KeyHandle lPredefinedKey, std::string_view sKeyName,
                                  std::string_view sValueName) {
  RegValue value = QueryValue(lPredefinedKey, sKeyName, sValueName);
  std::string* text = std::get_if<std::string>(&value);
  return text == nullptr ? std::string() : std::move(*text);
}

}  // namespace fieldpost
