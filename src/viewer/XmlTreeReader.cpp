#include "viewer/XmlTreeReader.h"

#include <algorithm>
#include <exception>
#include <string>
#include <utility>

#include "common/Limits.h"
#include "xml/XmlError.h"

namespace fieldpost {
namespace {

/// Bytes per call; the window processes events between calls.
constexpr std::size_t SliceBytes = 8192;

/// Whatever is in the archive can be shown: only what the parser compares with each other is limited.
constexpr XmlReadOptions Options = {.limits = {.depth = XmlLimits::Unlimited,
                                               .attributes = MaxShownAttributes,
                                               .namespaces = XmlLimits::Unlimited,
                                               .names = XmlLimits::Unlimited},
                                    .encoding = XmlReadOptions::Encoding::Utf8,
                                    .names = XmlReadOptions::Names::AsWritten};

std::string UpperAscii(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return upper;
}

}  // namespace

XmlTreeReader::XmlTreeReader(XmlTree& tree, std::unique_ptr<FileReader> file)
    : tree_(tree), text_(tree), source_(std::move(file)), reader_(*this, Options) {}

XmlTreeReader::Slice XmlTreeReader::ReadSlice() {
  if (slice_.state != State::Reading) return slice_;
  try {
    if (unread_.empty()) unread_ = source_.Next();
    if (unread_.empty()) {
      reader_.Finish();
      slice_.state = State::Done;
      return slice_;
    }
    const std::string_view slice = unread_.substr(0, SliceBytes);
    unread_.remove_prefix(slice.size());
    reader_.Feed(slice);
    bytesRead_ += slice.size();
  } catch (const XmlError& error) {
    slice_ = {.state = State::Malformed, .problem = error.what()};
  } catch (const std::exception& error) {
    slice_ = {.state = State::Unreadable, .problem = error.what()};
  }
  return slice_;
}

void XmlTreeReader::StartElement(const XmlStartTag& tag) {
  text_.EndText();
  std::string label(tag.name);
  if (!tag.attributes.empty()) label += ":  ";
  std::string_view space;
  for (const XmlAttribute& attribute : tag.attributes) {
    label.append(UpperAscii(attribute.name)).append("=\"").append(attribute.value).append("\" ");
    if (attribute.name == "xml:space") space = attribute.value;
  }
  tree_.Open(label);
  text_.Enter(space);
}

void XmlTreeReader::EndElement() {
  text_.EndText();
  text_.Leave();
  tree_.Close();
}

}  // namespace fieldpost
