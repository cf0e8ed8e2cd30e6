// A fake of the suite's PPC library: exports one entry with the arguments of the call.
#include <cstdint>
#include <fstream>

#include "platform/PpcLibrary.h"

extern "C" int FIELDPOST_STDCALL PPCDBArchive(const char* output, const char* pattern, std::int16_t* first,
                                              std::int16_t* second) {
  std::ofstream file(output, std::ios::binary);
  file << "<?xml version=\"1.0\"?>\r\n<!-- ppcdb.dll -->\r\n<PPCData><ArchiveDate>20040315</ArchiveDate>"
       << "<PPCentry><PATTERN>" << pattern << "</PATTERN><RESULTS>" << *first << ' ' << *second
       << "</RESULTS></PPCentry></PPCData>";
  *first = 7;
  *second = -7;
  return 1;
}
