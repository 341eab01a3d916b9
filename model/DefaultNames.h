// The names that new objects have until the engineer gives them one.
#ifndef TLMMEAS_DEFAULTNAMES_H
#define TLMMEAS_DEFAULTNAMES_H

#include <QString>

// By class, which is compared without regard to case; that of a folder is empty. Empty for any other class.
QString defaultName(const QString& className);

#endif
