#pragma once

class CMainFrame;

// Gives the frame its views and installs every feature's command handlers.
void installFeatures(CMainFrame &frame);
