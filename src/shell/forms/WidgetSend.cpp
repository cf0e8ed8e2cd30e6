#include "shell/forms/WidgetSend.h"

#include <memory>

#include "outbox/forms/frmSending.h"
#include "ppc/forms/frmProcessPPC.h"
#include "shell/InteractiveSend.h"

namespace fieldpost {

void ShowSendDialog(FieldpostProgram& program, WidgetStatusDisplay& display, WidgetMemory& memory,
                    QWidget* parent) {
  std::unique_ptr<frmProcessPPC> ppcWindow;
  frmSending* sending = nullptr;
  const auto open = [&] {
    ppcWindow = std::make_unique<frmProcessPPC>(display, sending);
    ppcWindow->show();
  };
  InteractiveSend send(program, {.open = open, .close = [&] { ppcWindow.reset(); }});
  // The send itself reports what failed.
  frmSending dialog([&send] { static_cast<void>(send.Run()); }, display, memory, parent);
  sending = &dialog;
  dialog.exec();
}

}  // namespace fieldpost
