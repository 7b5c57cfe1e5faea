#pragma once

#include <QMetaType>

namespace bom::db {

// Whether a column or value of this type holds a number (drivers report flags as integers).
inline bool isNumericType(int typeId) {
    switch (typeId) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::Bool:
        return true;
    default:
        return false;
    }
}

} // namespace bom::db
