// The graphics layer of the window program: registers the DISPLAY and GRAPH
// item kinds (a program without a window has neither) and opens the request
// channel to the GUI thread.
#pragma once

// On the GUI thread, once the application object exists. Also removes the data
// caches that a crashed run left in the temporary folder.
void RegisterGraphicsLayer();
// On the GUI thread before the environment goes: shells still waiting on a
// window are released, and later requests are refused.
void CloseGraphicsLayer();
