#pragma once
// One container of a naming context; filled by DNSUtils::GetAllCNTList. Text fields are zero
// padded, and the table's columns are copied from them at full width.

struct ContainerInfo {
  char partition[256] = {};  // the naming context it lies in
  char commonName[64] = {};
  char distinguishedName[256] = {};
  char className[64] = {};
  char created[64] = {};   // local time, as month/day/year  hours:minutes
  char modified[64] = {};  // likewise
};
