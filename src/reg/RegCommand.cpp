#include "reg/RegCommand.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <limits>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <vector>

#include "common/Text.h"
#include "reg/RegKeyName.h"

namespace fieldpost {
namespace {

constexpr std::string_view TextTypeName = "REG_SZ";
constexpr std::string_view NumberTypeName = "REG_DWORD";

/// The arguments of the command line.
struct RegRequest {
  std::string key;
  bool defaultValue = false;
  std::optional<std::string> value;
  std::string type{TextTypeName};
  std::optional<std::string> data;

  [[nodiscard]] bool NamesValue() const { return defaultValue || value.has_value(); }
  [[nodiscard]] std::string ValueName() const { return value.value_or(""); }
};

/// The command failed. `what()` is the line for the user.
class RegError : public std::runtime_error {
 public:
  explicit RegError(const std::string& text, int status = RegFailed)
      : std::runtime_error(text), status_(status) {}

  [[nodiscard]] int Status() const { return status_; }

 private:
  int status_;
};

std::string Shown(std::string_view valueName) {
  return valueName.empty() ? "the default value" : fmt::format("the value \"{}\"", EscapeControls(valueName));
}

std::string TypeName(std::uint32_t type) {
  switch (type) {
    case KeyTypeText:
      return std::string(TextTypeName);
    case KeyTypeExpandableText:
      return "REG_EXPAND_SZ";
    case KeyTypeBinary:
      return "REG_BINARY";
    case KeyTypeNumber:
      return std::string(NumberTypeName);
    default:
      return fmt::format("REG_TYPE_{}", type);
  }
}

std::string NumberText(std::string_view bytes) {
  std::uint32_t number = 0;
  for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte) {
    number = (number << 8U) | static_cast<unsigned char>(*byte);
  }
  return fmt::format("{}", static_cast<std::int32_t>(number));
}

/// Returns a value as it is printed: texts without their terminator, numbers in decimal digits, other bytes
/// in hex.
std::string DataText(const KeyData& data) {
  if (data.type == KeyTypeText || data.type == KeyTypeExpandableText) {
    return data.bytes.substr(0, data.bytes.find('\0'));
  }
  if (data.type == KeyTypeNumber && data.bytes.size() == 4) return NumberText(data.bytes);
  std::string text;
  for (const char byte : data.bytes) text += fmt::format("{:02x}", static_cast<unsigned char>(byte));
  return text;
}

/// Returns the bytes of a number in decimal or, after "0x", in hex digits. Throws RegError when it has more
/// than 32 bits.
std::string NumberBytes(const std::string& text) {
  std::string_view digits = text;
  const bool hex = digits.starts_with("0x") || digits.starts_with("0X");
  if (hex) digits.remove_prefix(2);
  std::int64_t number = 0;
  const auto [end, error] =
      std::from_chars(digits.data(), digits.data() + digits.size(), number, hex ? 16 : 10);
  const bool fits = number >= (hex ? 0 : std::numeric_limits<std::int32_t>::min()) &&
                    number <= std::numeric_limits<std::uint32_t>::max();
  if (error != std::errc() || end != digits.data() + digits.size() || !fits) {
    throw RegError(fmt::format("\"{}\" is not a 32-bit number", EscapeControls(text)), RegWrongCommandLine);
  }
  std::string bytes;
  for (auto rest = static_cast<std::uint32_t>(number); bytes.size() < 4; rest >>= 8U) {
    bytes += static_cast<char>(rest & 0xFFU);
  }
  return bytes;
}

/// One command on the key store.
class RegCommand {
 public:
  RegCommand(const RegRequest& request, KeyStore& keys, std::ostream& out)
      : request_(request), keys_(keys), out_(out) {
    const std::optional<RegKeyName> key = ParseRegKeyName(request.key);
    if (!key) throw RegError(InvalidKeyNameText(request.key), RegWrongCommandLine);
    key_ = *key;
  }

  void Add() {
    if (request_.data && !request_.NamesValue()) {
      throw RegError("--data needs --value NAME, or --ve for the key's default value", RegWrongCommandLine);
    }
    const bool number = EqualNoCase(request_.type, NumberTypeName);
    if (request_.NamesValue() && number && !request_.data) {
      throw RegError("a REG_DWORD needs --data", RegWrongCommandLine);
    }
    const std::string text = request_.data.value_or("");
    const std::string bytes = number && request_.data ? NumberBytes(text) : text;
    OpenedKey opened(keys_);
    Expect(opened.Create(key_.root, key_.name, KeyAllAccess));
    if (!request_.NamesValue()) return;
    Expect(
        keys_.SetValue(opened.Handle(), request_.ValueName(), number ? KeyTypeNumber : KeyTypeText, bytes));
  }

  void Query() {
    OpenedKey opened(keys_);
    const KeyHandle key = Open(opened, KeyReadAccess);
    if (!request_.NamesValue()) {
      PrintKey(key);
      return;
    }
    KeyData data;
    ExpectValue(keys_.QueryValue(key, request_.ValueName(), data));
    out_ << DataText(data) << '\n';
  }

  void Delete() {
    if (!request_.NamesValue()) {
      if (key_.name.empty()) throw RegError("a root cannot be deleted", RegWrongCommandLine);
      const KeyStatus status = keys_.DeleteTree(key_.root, key_.name);
      if (status == KeyMissing) throw RegError(MissingKeyText());
      Expect(status);
      return;
    }
    OpenedKey opened(keys_);
    ExpectValue(keys_.DeleteValue(Open(opened, KeyAllAccess), request_.ValueName()));
  }

 private:
  /// Opens the key. A root is always open, even when the store is missing.
  KeyHandle Open(OpenedKey& opened, std::uint32_t access) {
    if (key_.name.empty()) return key_.root;
    const KeyStatus status = opened.Open(key_.root, key_.name, access);
    if (status == KeyMissing) throw RegError(MissingKeyText());
    Expect(status);
    return opened.Handle();
  }

  void PrintKey(KeyHandle key) {
    std::vector<NamedKeyData> values;
    std::vector<std::string> subkeys;
    Expect(keys_.ListValues(key, values));
    Expect(keys_.ListSubkeys(key, subkeys));
    out_ << FullName(key_) << '\n';
    for (const NamedKeyData& value : values) {
      out_ << fmt::format("    {}    {}    {}\n",
                          value.name.empty() ? "(Default)" : EscapeControls(value.name),
                          TypeName(value.data.type), EscapeControls(DataText(value.data)));
    }
    for (const std::string& subkey : subkeys)
      out_ << FullName(key_) << '\\' << EscapeControls(subkey) << '\n';
  }

  void Expect(KeyStatus status) const {
    if (status == KeyOk) return;
    if (status == KeyMissing) throw RegError(MissingKeyText());
    if (status == KeyBadArgument) throw RegError("the name is too long, or the data too large");
    throw RegError(keys_.Problem().empty() ? fmt::format("failed with status {}", status) : keys_.Problem());
  }

  void ExpectValue(KeyStatus status) const {
    if (status != KeyMissing) return Expect(status);
    throw RegError(
        fmt::format("{} does not have {}", EscapeControls(FullName(key_)), Shown(request_.ValueName())));
  }

  /// Names the nearest existing key above, and its subkeys, because the usual cause is a misspelt part.
  [[nodiscard]] std::string MissingKeyText() const {
    RegKeyName above = key_;
    std::vector<std::string> subkeys;
    OpenedKey opened(keys_);
    do {
      above.name.resize(above.name.find_last_of('\\') == std::string::npos ? 0
                                                                           : above.name.find_last_of('\\'));
    } while (!above.name.empty() && opened.Open(above.root, above.name, KeyReadAccess) != KeyOk);
    static_cast<void>(keys_.ListSubkeys(above.name.empty() ? above.root : opened.Handle(), subkeys));
    std::string text =
        "no such key: " + EscapeControls(FullName(key_)) + "\n" + EscapeControls(FullName(above));
    if (subkeys.empty()) return text + " has no subkeys";
    return text + " has: " + EscapeControls(fmt::format("{}", fmt::join(subkeys, ", ")));
  }

  const RegRequest& request_;
  KeyStore& keys_;
  std::ostream& out_;
  RegKeyName key_;
};

/// Adds a command with the arguments that all commands have.
CLI::App* AddCommand(CLI::App& app, const std::string& name, const std::string& description,
                     RegRequest& request) {
  CLI::App* command = app.add_subcommand(name, description);
  command->add_option("KEY", request.key, "The key, in single quotes, as in 'HKLM\\SOFTWARE\\Name'")
      ->required();
  CLI::Option* byName = command->add_option("--value", request.value, "The name of the value");
  command->add_flag("--ve", request.defaultValue, "The key's default value")->excludes(byName);
  return command;
}

/// Returns the arguments in the order that the parser expects, the last one first. "--data=" becomes two
/// words, because the parser would ignore the empty text after "=".
std::vector<std::string> ForParser(std::span<const std::string> arguments) {
  std::vector<std::string> words;
  for (const std::string& argument : arguments) {
    const bool empty = argument == "--data=" || argument == "--value=";
    words.push_back(empty ? argument.substr(0, argument.size() - 1) : argument);
    if (empty) words.emplace_back();
  }
  return {words.rbegin(), words.rend()};
}

}  // namespace

int RunRegCommand(std::span<const std::string> arguments, KeyStore& keys, std::ostream& out,
                  std::ostream& err) {
  RegRequest request;
  CLI::App app("Shows and changes keys and values of Fieldpost's registry.", "fieldpost-reg");
  app.require_subcommand(1);
  CLI::App* add = AddCommand(app, "add", "Create a key, or write one of its values", request);
  add->add_option("--type", request.type, "REG_SZ (a text) or REG_DWORD (a 32-bit number)")
      ->capture_default_str()
      ->check(CLI::IsMember({std::string(TextTypeName), std::string(NumberTypeName)}, CLI::ignore_case));
  add->add_option("--data", request.data, "The new data of the value");
  const CLI::App* query =
      AddCommand(app, "query", "Print a value's data, or a key's values and subkeys", request);
  AddCommand(app, "delete", "Delete a value, or a key with everything below it", request);

  try {
    app.parse(ForParser(arguments));
    RegCommand command(request, keys, out);
    if (add->parsed()) {
      command.Add();
    } else if (query->parsed()) {
      command.Query();
    } else {
      command.Delete();
    }
    return RegDone;
  } catch (const CLI::ParseError& error) {
    return app.exit(error, out, err) == 0 ? RegDone : RegWrongCommandLine;
  } catch (const RegError& error) {
    err << "fieldpost-reg: " << error.what() << '\n';
    return error.Status();
  }
}

}  // namespace fieldpost
