// What every user of libxml2's push parser needs: a parser that frees itself, and texts as views.
#pragma once

#include <libxml/parser.h>

#include <memory>
#include <string_view>

namespace fieldpost {

struct FreeXmlParser {
  void operator()(xmlParserCtxt* parser) const {
    xmlFreeDoc(parser->myDoc);
    xmlFreeParserCtxt(parser);
  }
};

/// A parser with the document that it holds, if any; both are freed with it.
using XmlParser = std::unique_ptr<xmlParserCtxt, FreeXmlParser>;

/// libxml2's text as UTF-8, empty for a null pointer; lives as long as libxml2's does.
inline std::string_view FromXml(const xmlChar* text) {
  return text == nullptr ? std::string_view() : reinterpret_cast<const char*>(text);
}

}  // namespace fieldpost
