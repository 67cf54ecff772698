#include "app/project_icons.h"

#include <QCoreApplication>
#include <QHash>

namespace tavrix {

namespace {

// Made with the first icon and dropped with the application, before Qt's own shutdown.
QHash<QString, QIcon>* shelf = nullptr;

}  // namespace

QIcon ProjectIcon(const QString& name) {
  if (shelf == nullptr) {
    shelf = new QHash<QString, QIcon>;
    qAddPostRoutine([] {
      delete shelf;
      shelf = nullptr;
    });
  }
  auto found = shelf->find(name);
  if (found == shelf->end()) found = shelf->insert(name, QIcon(QStringLiteral(":/icons/") + name));
  return *found;
}

}  // namespace tavrix
