// Text from the mainframe made safe for the record database.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// True for a name that the IOC accepts, with `more` sane bytes behind it: one that it does not
// aborts the load and loses every later record. A name has 1 to 60 bytes, and nothing in it can
// be escaped.
bool ZANTOIsRecordName(std::string_view name, std::size_t more = 0);

// Appends `value` as it may stand between the double quotes of a field: quotes and backslashes
// are escaped; control bytes are dropped, and so is the dollar of a macro reference, which no
// field takes in whatever form. A sane value stays as it is, however long: the IOC refuses a
// value that a field has no room for and keeps the record.
void ZANTOAppendDbValue(std::string &text, std::string_view value);
