// What XmlStreamReader does at each event of libxml2's parser.
#include <fmt/format.h>
#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <functional>

#include "common/Text.h"
#include "xml/LibXml.h"
#include "xml/XmlStreamReader.h"

namespace fieldpost {
namespace {

using Names = XmlReadOptions::Names;

constexpr std::string_view DeclaresPrefix = "xmlns:";

/// Counts the nodes and text bytes of a subtree.
struct Measure {
  std::size_t nodes = 0;
  std::size_t bytes = 0;

  void Add(const xmlNode& node, std::size_t maxNodes) {
    if (++nodes > maxNodes || node.type == XML_ENTITY_REF_NODE) return;
    if (node.type != XML_ELEMENT_NODE) {
      bytes += FromXml(node.content).size();
      return;
    }
    for (const xmlAttr* one = node.properties; one != nullptr; one = one->next) nodes += 2;
    for (const xmlNode* child = node.children; child != nullptr && nodes <= maxNodes; child = child->next) {
      Add(*child, maxNodes);
    }
  }
};

bool IsWhiteSpace(std::string_view text) {
  return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

}  // namespace

/// libxml2 parses each entity in a parser context of its own; all of them point to the reader by `_private`.
struct XmlStreamReader::Callbacks {
  static XmlStreamReader& Of(void* context) {
    return *static_cast<XmlStreamReader*>(static_cast<xmlParserCtxt*>(context)->_private);
  }

  /// Runs one callback. Returns false when it throws or an earlier one has thrown; the parser is then
  /// stopped.
  template <class Step>
  static bool Do(void* context, Step step) {
    XmlStreamReader& reader = Of(context);
    if (!reader.failure_) {
      try {
        step(reader);
        return true;
      } catch (...) {
        reader.failure_ = std::current_exception();
      }
    }
    reader.Stop(context);
    return false;
  }

  static void OnError(void* context, xmlError* error) { Of(context).HandleError(*error, context); }

  static void OnStart(void* context, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri,
                      int namespaceCount, const xmlChar** namespaces, int attributeCount, int defaultedCount,
                      const xmlChar** attributes) {
    Do(context, [&](XmlStreamReader& reader) {
      // libxml2 keeps pairs of prefix and URI. Within an entity they include those of the surrounding
      // elements.
      const int inForce = static_cast<xmlParserCtxt*>(context)->nsNr / 2;
      const auto count = static_cast<std::size_t>(attributeCount);
      reader.RefuseIf(reader.usage_.Enter(count, static_cast<std::size_t>(inForce)));
      if (reader.fed_ == 0) reader.CheckNames();  // what comes in pieces is checked after each piece
      reader.inText_ = false;
      if (reader.handler_ == nullptr) {
        reader.RefuseIf(reader.usage_.AddNodes(1 + 2 * count));
        xmlSAX2StartElementNs(context, name, prefix, uri, namespaceCount, namespaces, attributeCount,
                              defaultedCount, attributes);
        return;
      }
      reader.attributes_.clear();
      const int wanted = reader.options_.attributes ? attributeCount : 0;
      for (const xmlChar** one = attributes; one != attributes + 5 * wanted; one += 5) {
        reader.attributes_.push_back(
            {.prefix = FromXml(one[1]), .name = FromXml(one[0]), .value = FromXml(one[3], one[4] - one[3])});
      }
      reader.namespaces_.clear();
      for (const xmlChar** one = namespaces; one != namespaces + 2 * namespaceCount; one += 2) {
        reader.namespaces_.push_back({.prefix = FromXml(one[0]), .uri = FromXml(one[1])});
      }
      reader.handler_->StartElement({.prefix = FromXml(prefix),
                                     .name = FromXml(name),
                                     .attributes = reader.attributes_,
                                     .namespaces = reader.namespaces_});
    });
  }

  static void OnEnd(void* context, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri) {
    Do(context, [&](XmlStreamReader& reader) {
      reader.usage_.Leave();
      reader.inText_ = false;
      if (reader.handler_ != nullptr) return reader.handler_->EndElement();
      xmlSAX2EndElementNs(context, name, prefix, uri);
    });
  }

  static void OnStartAsWritten(void* context, const xmlChar* name, const xmlChar** pairs) {
    Do(context, [&](XmlStreamReader& reader) {
      reader.attributes_.clear();
      for (; pairs != nullptr && *pairs != nullptr; pairs += 2) {
        reader.attributes_.push_back({.prefix = {}, .name = FromXml(pairs[0]), .value = FromXml(pairs[1])});
      }
      reader.EnterAsWritten(FromXml(name));
      reader.handler_->StartElement(
          {.prefix = {}, .name = FromXml(name), .attributes = reader.attributes_, .namespaces = {}});
    });
  }

  static void OnEndAsWritten(void* context, const xmlChar* /*name*/) {
    Do(context, [](XmlStreamReader& reader) {
      reader.usage_.Leave();
      reader.scopes_.Leave();
      reader.handler_->EndElement();
    });
  }

  /// Passes an event to the handler; without a handler, counts and builds its node.
  template <class Handle, class Build>
  static void DoNode(void* context, Handle handle, Build build) {
    Do(context, [&](XmlStreamReader& reader) {
      if (reader.handler_ != nullptr) return handle(*reader.handler_);
      reader.inText_ = false;
      reader.RefuseIf(reader.usage_.AddNodes(1));
      build();
    });
  }

  static void OnText(void* context, const xmlChar* text, int length) {
    Do(context, [&](XmlStreamReader& reader) {
      if (reader.handler_ != nullptr) return reader.handler_->Text(FromXml(text, length));
      // libxml2 passes a long text in parts, which become one node. XmlDocument drops texts of white space.
      if (!reader.inText_ && !IsWhiteSpace(FromXml(text, length))) {
        reader.RefuseIf(reader.usage_.AddNodes(1));
        reader.inText_ = true;
      }
      // Otherwise libxml2 ends the tree at a text of 10 MB, with an error that is not fatal.
      int& parserOptions = static_cast<xmlParserCtxt*>(context)->options;
      parserOptions |= XML_PARSE_HUGE;
      xmlSAX2Characters(context, text, length);
      parserOptions &= ~XML_PARSE_HUGE;
    });
  }

  static void OnCdata(void* context, const xmlChar* text, int length) {
    DoNode(
        context, [&](XmlHandler& handler) { handler.Cdata(FromXml(text, length)); },
        [&] { xmlSAX2CDataBlock(context, text, length); });
  }

  static void OnComment(void* context, const xmlChar* text) {
    DoNode(context, std::mem_fn(&XmlHandler::Comment), [&] { xmlSAX2Comment(context, text); });
  }

  static void OnInstruction(void* context, const xmlChar* target, const xmlChar* data) {
    DoNode(context, std::mem_fn(&XmlHandler::ProcessingInstruction),
           [&] { xmlSAX2ProcessingInstruction(context, target, data); });
  }

  /// libxml2 would continue without the text of an entity that only an external document type can declare.
  static void OnUnresolved(void* context, const xmlChar* name) {
    Do(context, [&](XmlStreamReader& reader) {
      reader.Refuse(fmt::format("entity \"{}\" is not declared in the file", EscapeControls(FromXml(name))));
    });
  }

  /// Not called for the five predefined entities. While libxml2 reads declarations, it only checks whether an
  /// entity is already declared.
  static xmlEntity* OnEntity(void* context, const xmlChar* name) {
    xmlEntity* const entity = xmlSAX2GetEntity(context, name);
    const xmlParserInputState state = static_cast<xmlParserCtxt*>(context)->instate;
    if (state == XML_PARSER_DTD || state == XML_PARSER_ENTITY_DECL || state == XML_PARSER_ENTITY_VALUE) {
      return entity;
    }
    const bool mayUse = Do(context, [&](XmlStreamReader& reader) {
      if (reader.handler_ != nullptr) reader.handler_->DocumentTypeUse();
      if (entity != nullptr) reader.CountUse(*entity);
    });
    return mayUse ? entity : nullptr;
  }

  static xmlEntity* OnParameterEntity(void* context, const xmlChar* name) {
    xmlEntity* const entity = xmlSAX2GetParameterEntity(context, name);
    if (entity == nullptr) return nullptr;
    return Do(context, [&](XmlStreamReader& reader) { reader.CountUse(*entity); }) ? entity : nullptr;
  }

  /// External entities are not declared, so a reference to one is an error and no file is opened. libxml2
  /// does not pause within an entity, so its attributes are counted here.
  static void OnEntityDeclaration(void* context, const xmlChar* name, int type, const xmlChar* publicId,
                                  const xmlChar* systemId, xmlChar* content) {
    const bool isInternal = type == XML_INTERNAL_GENERAL_ENTITY || type == XML_INTERNAL_PARAMETER_ENTITY;
    const bool mayDeclare = Do(context, [&](XmlStreamReader& reader) {
      reader.RefuseIf(reader.usage_.AddDeclaration());
      const std::size_t most = reader.options_.limits.attributes;
      if (isInternal && MayExceedAttributes(FromXml(content), most)) {
        reader.Refuse(MoreThan(most, "attributes in one tag"));
      }
    });
    if (isInternal && mayDeclare) xmlSAX2EntityDecl(context, name, type, publicId, systemId, content);
  }

  static void OnAttributeDeclaration(void* context, const xmlChar* element, const xmlChar* name, int type,
                                     int kind, const xmlChar* value, xmlEnumeration* choices) {
    const bool mayDeclare = Do(context, [&](XmlStreamReader& reader) {
      reader.RefuseIf(reader.usage_.AddDeclaration());
      if (value == nullptr || reader.handler_ == nullptr) return;
      reader.handler_->DocumentTypeUse();
      if (reader.options_.names == Names::Resolved) return;
      reader.defaults_[std::string(FromXml(element))].emplace_back(FromXml(name), FromXml(value));
    });
    if (mayDeclare) {
      xmlSAX2AttributeDecl(context, element, name, type, kind, value, choices);
    } else {
      xmlFreeEnumeration(choices);
    }
  }

  /// For declarations that are only counted and recorded.
  template <auto Record>
  struct OnDeclaration;
  template <class... Arguments, void (*Record)(void*, Arguments...)>
  struct OnDeclaration<Record> {
    static void Call(void* context, Arguments... arguments) {
      const bool mayDeclare =
          Do(context, [](XmlStreamReader& reader) { reader.RefuseIf(reader.usage_.AddDeclaration()); });
      if (mayDeclare) Record(context, arguments...);
    }
  };
};

void FreeLibXmlTree::operator()(xmlDoc* tree) const {
  xmlFreeDoc(tree);
}

void XmlStreamReader::SetCallbacks() {
  xmlSAXHandler& sax = *parser_->sax;
  sax.serror = Callbacks::OnError;
  sax.startElementNs = Callbacks::OnStart;
  sax.endElementNs = Callbacks::OnEnd;
  sax.characters = options_.texts ? Callbacks::OnText : nullptr;
  sax.ignorableWhitespace = sax.characters;
  sax.cdataBlock = options_.texts ? Callbacks::OnCdata : nullptr;
  sax.comment = Callbacks::OnComment;
  sax.processingInstruction = Callbacks::OnInstruction;
  sax.reference = Callbacks::OnUnresolved;
  sax.getEntity = Callbacks::OnEntity;
  sax.getParameterEntity = Callbacks::OnParameterEntity;
  sax.entityDecl = Callbacks::OnEntityDeclaration;
  sax.attributeDecl = Callbacks::OnAttributeDeclaration;
  sax.elementDecl = Callbacks::OnDeclaration<xmlSAX2ElementDecl>::Call;
  sax.notationDecl = Callbacks::OnDeclaration<xmlSAX2NotationDecl>::Call;
  sax.unparsedEntityDecl = Callbacks::OnDeclaration<xmlSAX2UnparsedEntityDecl>::Call;
  sax.externalSubset = nullptr;
  if (options_.names == Names::Resolved) return;
  // Not XML_SAX2_MAGIC, with which libxml2 splits names. Its errors then have no message.
  sax.initialized = 1;
  sax.startElement = Callbacks::OnStartAsWritten;
  sax.endElement = Callbacks::OnEndAsWritten;
}

/// Checks the namespaces of a start tag. libxml2 would search all namespaces in force at each element.
void XmlStreamReader::EnterAsWritten(std::string_view name) {
  AddDefaults(name);
  RefuseIf(usage_.Enter(attributes_.size(), 0));
  namespaces_.clear();
  for (const XmlAttribute& attribute : attributes_) {
    if (!attribute.name.starts_with(DeclaresPrefix)) continue;
    const std::string_view prefix = attribute.name.substr(DeclaresPrefix.size());
    if (attribute.value.empty() || prefix == "xmlns") {
      Refuse("a namespace declaration is not allowed: empty URI, or the prefix xmlns");
    }
    namespaces_.push_back({.prefix = prefix, .uri = attribute.value});
  }
  scopes_.Enter(namespaces_);
  if (!HasKnownPrefix(name) || !std::all_of(attributes_.begin(), attributes_.end(), [this](const auto& one) {
        return one.name.starts_with(DeclaresPrefix) || HasKnownPrefix(one.name);
      })) {
    Refuse("a prefix is not declared");
  }
}

bool XmlStreamReader::HasKnownPrefix(std::string_view name) const {
  const std::size_t colon = name.find(':');
  if (colon == std::string_view::npos) return true;
  if (name.find(':', colon + 1) != std::string_view::npos) return false;
  const std::string_view prefix = name.substr(0, colon);
  return prefix == "xml" || scopes_.Declares(prefix);
}

void XmlStreamReader::AddDefaults(std::string_view element) {
  if (defaults_.empty()) return;
  const auto found = defaults_.find(std::string(element));
  if (found == defaults_.end()) return;
  for (const auto& [name, value] : found->second) {
    const std::string_view wanted = name;
    if (std::any_of(attributes_.begin(), attributes_.end(),
                    [&](const auto& one) { return one.name == wanted; }))
      continue;
    RefuseIf(usage_.AddEntityBytes(name.size() + value.size() + sizeof(xmlAttr)));
    attributes_.push_back({.prefix = {}, .name = name, .value = value});
  }
}

/// Counts one reference to an entity, also a reference within the text of another entity. In a tree, libxml2
/// copies the nodes of an entity for each reference but the first.
void XmlStreamReader::CountUse(const xmlEntity& entity) {
  Measure measure;
  for (const xmlNode* node = entity.children; node != nullptr && measure.nodes <= options_.limits.nodes;
       node = node == entity.last ? nullptr : node->next) {
    measure.Add(*node, options_.limits.nodes);
  }
  inText_ = false;
  RefuseIf(
      usage_.AddEntityUse(std::max(measure.bytes, static_cast<std::size_t>(std::max(entity.length, 0)))));
  if (handler_ == nullptr) RefuseIf(usage_.AddNodes(measure.nodes));
}

}  // namespace fieldpost
