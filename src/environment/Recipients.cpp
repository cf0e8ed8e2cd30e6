#include "environment/Recipients.h"

#include "environment/RegistryKeys.h"

namespace fieldpost {
namespace {

std::string RecipientIn(EditWinReg& registry, std::string_view key, std::string_view byDefault) {
  const std::string address = registry.QueryText(HKEY_LOCAL_MACHINE, key, DefaultValue);
  return address.empty() ? std::string(byDefault) : address;
}

}  // namespace

std::string_view DefaultFaultlogRecipient() {
  return FIELDPOST_DEFAULT_FAULTLOG_RECIPIENT;
}

std::string_view DefaultPpcRecipient() {
  return FIELDPOST_DEFAULT_PPC_RECIPIENT;
}

std::string FaultlogRecipient(EditWinReg& registry) {
  return RecipientIn(registry, FaultlogRecipientKey, DefaultFaultlogRecipient());
}

std::string PpcRecipient(EditWinReg& registry) {
  return RecipientIn(registry, PpcRecipientKey, DefaultPpcRecipient());
}

}  // namespace fieldpost
