// Handler lookup: get_sve_handler maps an instruction word to the function
// that emulates it, or null.
#pragma once
#include <cstdint>

#include "sve/decode/encodings.h"
#include "sve/decode/handler.h"

extern int page_size;  // host page size, set before the tables are built

extern "C++" Handler get_sve_handler(unsigned int word);

// The data entry that a word decodes to (live or not), or null: the same probe
// as get_sve_handler, for tools and tests.
const DecodeEntry* find_decode_entry(uint32_t word);

// The handler published for an entry, or null while it is not implemented.
Handler entry_handler(const DecodeEntry& e);
