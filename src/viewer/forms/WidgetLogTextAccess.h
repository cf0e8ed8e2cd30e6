// What screen readers learn about the text of a log.
#pragma once

namespace fieldpost {

class WidgetLogText;

/// Makes Qt give the text to screen readers: a read-only text whose value is what is in sight.
void InstallLogTextAccess();

/// Tells screen readers that the caret has moved or that other rows are in sight.
void TellLogTextMoved(WidgetLogText& view);

}  // namespace fieldpost
