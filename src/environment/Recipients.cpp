#include "environment/DefaultRecipients.h"

namespace fieldpost {

std::string_view DefaultFaultlogRecipient() {
  return FIELDPOST_DEFAULT_FAULTLOG_RECIPIENT;
}

std::string_view DefaultPpcRecipient() {
  return FIELDPOST_DEFAULT_PPC_RECIPIENT;
}

}  // namespace fieldpost
