// A program of the kind that asks whether another copy runs: its main window exists, and is shown only when a
// line comes from its standard input. It writes the window's number, and a line each time that it has done
// so.
#include <QApplication>
#include <QMainWindow>
#include <QWindow>
#include <iostream>
#include <string>

int main(int argc, char** argv) {
  QApplication program(argc, argv);
  QApplication::setApplicationName("fieldpost");
  QApplication::setApplicationDisplayName("Fieldpost");
  QMainWindow window;
  window.setWindowTitle("Fieldpost");
  const WId number = window.winId();
  QApplication::processEvents();
  std::cout << number << std::endl;
  std::string line;
  if (!std::getline(std::cin, line)) return 0;
  window.show();
  while (!window.windowHandle()->isExposed()) QApplication::processEvents(QEventLoop::WaitForMoreEvents);
  std::cout << "shown" << std::endl;
  std::getline(std::cin, line);
  return 0;
}
