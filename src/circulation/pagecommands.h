#pragma once

class CMainFrame;

// The commands the circulation area serves in every view: "Zrušení vyřazení knihy...".
void installCirculationCommands(CMainFrame &frame);
