#pragma once
// What an operation on the directory came to. Success is 0.

inline constexpr int ADSI_CONTAINER_ERR = -1;  // a container could not be bound; also plain failure
inline constexpr int ADSI_OBJECT_ERR = -2;  // an object, interface or attribute was not to be had
inline constexpr int ADSI_ENUM_ERR = -3;    // an enumerator could not be built
// The walk ran to its end: the normal answer of every operation that walks a container.
inline constexpr int ADSI_ENUM_END = -10;
