// A program that starts as one with windows does: it makes its main window without showing it, and asks
// whether another copy runs. It writes the window's number and "alone" or "second", shows its window when a
// line comes from its standard input, says so, and ends with the next line. Its argument names a library that
// it loads first.
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
