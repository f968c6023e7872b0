/// Text from the mainframe made safe for the record database.
#ifndef ZANTODBTEXT_H
#define ZANTODBTEXT_H

#include <functional>
#include <string>
#include <string_view>

/// True for a name that the IOC accepts: one that it does not aborts the load and loses every
/// later record. A name has 1 to 60 bytes, and nothing in it can be escaped.
bool ZANTOIsRecordName(const std::string &name);

/// `text` as it may stand between the double quotes of a field value: quotes and backslashes are
/// escaped; control bytes are dropped, and so is the dollar of a macro reference, which no field
/// takes in whatever form. A sane text comes back as it is, however long: the IOC refuses a value
/// that a field has no room for and keeps the record.
std::string ZANTODbValue(const std::string &text);

/// Calls `use` with name and type of each record that a database text defines, in its order;
/// both point into the text.
void ZANTOForEachRecord(
    std::string_view records,
    const std::function<void(std::string_view name, std::string_view type)> &use);

#endif
