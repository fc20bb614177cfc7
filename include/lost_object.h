#pragma once
// One object of the LostAndFound container; filled by LostObjectsEnum::GetObject into the caller's
// record. Behind a text and its zero end the fields are filled with blanks, so a table that copies
// the front of a field gets blanks and not what stood there before.

struct LostObject {
  char name[256] = {};
  char className[256] = {};  // the most specific class
};
static_assert(sizeof(LostObject) == 512);
