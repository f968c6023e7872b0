/// Text from the mainframe made safe for the record database.
#ifndef ZANTODBTEXT_H
#define ZANTODBTEXT_H

#include <cstddef>
#include <string>
#include <vector>

/// Longest values in bytes that the record fields take. A longer one is an error when the
/// database is loaded and leaves the field empty.
namespace ZANTOFieldCapacity {
constexpr std::size_t egu = 15;
constexpr std::size_t stateName = 25;
constexpr std::size_t description = 40;
} // namespace ZANTOFieldCapacity

/// True for a name that the IOC accepts: one that it does not aborts the load and loses every
/// later record. A name has 1 to 60 bytes, and nothing in it can be escaped.
bool ZANTOIsRecordName(const std::string &name);

/// `text` as it may stand between the double quotes of a field value: at most `capacity` bytes
/// are kept, never part of a UTF-8 character; quotes and backslashes are escaped; control bytes
/// are dropped, and so is the dollar of a macro reference, which no field takes in whatever
/// form. A sane text comes back as it is.
std::string ZANTODbValue(const std::string &text, std::size_t capacity);

/// The names of the records that a database text defines, in its order.
std::vector<std::string> ZANTORecordNames(const std::string &records);

#endif
