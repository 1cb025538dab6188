// The way of one frame through the dual-PD line pipeline.
#pragma once

#include "dense/pdlib_dpd_context.h"

// One step of the frame: the centre grid once, then the peripheral windows if the centre found
// nothing.
void DPDIncrementalProcessing(dpd_context_t* context, uint32_t lines);

// The centre grid: lines of all rows that have arrived, and the results once none is missing.
void DPDGetPDCenterWindow(dpd_context_t* context, uint32_t lines, PDLibOutputData* output);

// The peripheral windows that have no result yet, as far as `lines` allows.
void DPDGetPDPeripheralWindow(dpd_context_t* context, uint32_t lines, PDLibOutputData* output);

// Sets up the line job of cells [first_cell, end_cell) of a row, or of the cells first_cell to
// end_cell of a column in the vertical mode.
dpd_line_arg_t DPDPrepareLineArg(dpd_context_t* context, uint32_t first_cell, uint32_t end_cell);

// Walks the job's lines (columns) and adds the SAD of each to the job's cells.
void DPDProcessGridLine(dpd_context_t* context, dpd_line_arg_t* line_arg, uint32_t first_cell,
                        uint32_t end_cell);

// The SAD of one filtered pair of lines, cell by cell.
void DPDCoreLineSAD(dpd_context_t* context, dpd_line_arg_t* line_arg, uint32_t first_cell);

// The result of the whole ROI; whether its confidence exceeds the threshold.
bool ComputeSADSingleWindow(dpd_context_t* context, PDLibOutputData* output);

// Turns the curve of one result window, or of one peripheral window in peripheral mode, into its
// result; whether its confidence exceeds the threshold. A window beyond the results is not stored.
bool ComputePDAndConfidence(dpd_context_t* context, PDLibDefocusInfo* infos, uint32_t index);
