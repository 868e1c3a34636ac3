#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

/// The XML form of property lists, read in one pass and in linear time. The property-list library's own XML
/// reader looks every key up in a chain that a hostile file can make arbitrarily long (100,000 keys: over a
/// minute), so it only writes this form.
namespace PropertyListXml {

/// Invalid, and `problem` set, when the data is malformed or passes the limits of PropertyList.
[[nodiscard]] QVariant fromData(const QByteArray& data, QString& problem);

}  // namespace PropertyListXml
