// UTF-8 text of the logic to and from Qt strings.
#pragma once

#include <QString>
#include <string>
#include <string_view>

namespace brv {

inline QString ToQ(std::string_view s) {
    return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}
inline std::string FromQ(const QString& s) {
    return s.toUtf8().toStdString();
}

}  // namespace brv
