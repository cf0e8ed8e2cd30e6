// Starts as Fieldpost does: creates its main window without showing it, and checks whether another copy is
// running. It prints the number of its window, and "alone" or "second". After a line on its standard input it
// shows the window and prints "shown"; after the next line it ends. Its argument names a library that it
// loads first.
#include <QApplication>
#include <QLibrary>
#include <QMainWindow>
#include <QWindow>
#include <iostream>
#include <string>

#include "platform/TopLevelWindows.h"
#include "shell/SingleInstanceGuard.h"

int main(int argc, char** argv) {
  QApplication program(argc, argv);
  QApplication::setApplicationDisplayName("Fieldpost");
  if (argc > 1 && !QLibrary(QString::fromLocal8Bit(argv[1])).load()) return 1;
  QMainWindow window;
  window.setWindowTitle("Fieldpost");
  const WId number = window.winId();
  const auto windows = fieldpost::SessionTopLevelWindows(QApplication::platformName() == "xcb", "Fieldpost");
  fieldpost::SingleInstanceGuard guard(*windows);
  std::cout << number << std::endl;
  std::cout << (guard.IsAlreadyOpen(number, "Fieldpost") ? "second" : "alone") << std::endl;
  std::string line;
  if (!std::getline(std::cin, line)) return 0;
  window.show();
  while (!window.windowHandle()->isExposed()) QApplication::processEvents(QEventLoop::WaitForMoreEvents);
  std::cout << "shown" << std::endl;
  std::getline(std::cin, line);
  return 0;
}
