// var.hpp -- the hooks through which later subsystems serve the value
// records: field reads and writes, windows, and the end of an object.
#pragma once

#include "var.h"

extern "C" {

// Write a field record (Mode 'F'/'f') from value; the database fills it.
extern var* (*vlnSetFieldHook)(var* field, var* value);
// Refresh a field record's cached value before it is read.
extern void (*vlnGetFieldHook)(var* field);
// Window services for 'S' values: duplicate and delete.
extern void* (*vlnDupWindowHook)(void* window);
extern void (*vlnDelWindowHook)(void* window);
// Called once when an object's last link goes (the axit message).
extern void (*vlnAxitHook)(var* obj);

}  // extern "C"
