#pragma once

// Where the bundles installed with the toolkit are. Installing the toolkit replaces this header
// with one that points NSBundle at the installed bundles directory before main runs, so that a
// program built against the installed package finds the plug-in's images without being told.
// Nothing is installed in the source tree, so here the header declares nothing.
