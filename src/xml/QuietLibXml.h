// Suppresses what libxml2 prints on its own.
#pragma once

#include <libxml/globals.h>
#include <libxml/xmlerror.h>

namespace fieldpost {

/// While it exists, libxml2 does not print errors of this thread to standard error. Each caller learns of a
/// failure by the result of its call.
class QuietLibXml {
 public:
  QuietLibXml() { xmlSetStructuredErrorFunc(nullptr, Ignore); }
  QuietLibXml(const QuietLibXml&) = delete;
  QuietLibXml& operator=(const QuietLibXml&) = delete;
  ~QuietLibXml() { xmlSetStructuredErrorFunc(context_, function_); }

 private:
  static void Ignore(void* /*context*/, xmlError* /*error*/) {}

  xmlStructuredErrorFunc function_ = xmlStructuredError;
  void* context_ = xmlStructuredErrorContext;
};

}  // namespace fieldpost
