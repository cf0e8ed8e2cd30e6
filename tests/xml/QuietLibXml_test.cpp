#include "xml/QuietLibXml.h"

#include <gtest/gtest.h>

#include <string>

#include "xml/XmlDocument.h"
#include "xml/XmlEncoding.h"
#include "xml/XmlError.h"

namespace fieldpost {
namespace {

void Record(void* context, xmlError* /*error*/) {
  ++*static_cast<int*>(context);
}

TEST(QuietLibXml, RestoresTheErrorFunctionAndItsContext) {
  int errors = 0;
  xmlSetStructuredErrorFunc(&errors, Record);
  {
    const QuietLibXml quiet;
    EXPECT_NE(xmlStructuredError, Record);
  }
  EXPECT_EQ(xmlStructuredError, Record);
  EXPECT_EQ(xmlStructuredErrorContext, &errors);
  xmlSetStructuredErrorFunc(nullptr, nullptr);
}

TEST(QuietLibXml, KeepsErrorsOfAConversionFromTheErrorFunction) {
  int errors = 0;
  xmlSetStructuredErrorFunc(&errors, Record);
  XmlDocument document;
  EXPECT_FALSE(document.Load("<?xml version=\"1.0\" encoding=\"Shift_JIS\"?><a>" + std::string(9000, 'x') +
                             "\x81\xFF</a>"));
  EXPECT_THROW(XmlEncoding("EUC-JP").ToUtf8("\xFF\xFF"), XmlError);
  EXPECT_EQ(errors, 0);
  xmlSetStructuredErrorFunc(nullptr, nullptr);
}

}  // namespace
}  // namespace fieldpost
