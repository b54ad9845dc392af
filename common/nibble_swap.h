#pragma once

// Each byte's two halves of four bits change places, so either function undoes the other: it keeps
// nothing secret, it only makes a text unreadable at a glance. `length` in bytes; a null pointer or
// a length below 1 does nothing. Any thread.

void Encrypt(unsigned char* bytes, int length);
void Decrypt(unsigned char* bytes, int length);
