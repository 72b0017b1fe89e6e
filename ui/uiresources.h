#pragma once

// Registers the pictures compiled into the user-interface library (icons, splash, about
// picture). A static library's resources stay unregistered until someone asks; the program
// and the tests call this before building windows. Safe to call more than once.
void initUiResources();
