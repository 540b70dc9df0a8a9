#include "platform/Files.h"

#include <cstring>

QString Files::Result::description() const { return QString::fromLocal8Bit(std::strerror(error)); }
