// The peer of the hand-over benchmark: a Qt Widgets program that makes its
// application and ends, the least any start of a Qt window program costs.
#include <QApplication>

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  return 0;
}
