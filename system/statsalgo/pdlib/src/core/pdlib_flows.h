// Which flow a camera gets, and how every kind of flow is made.
#pragma once

#include "frame/pdlib_flow.h"

class LogicalDriver;

// The flow for a sensor, its tuning and the hardware of the target.
PDFlowType SelectPDLibFlow(const PDLibInitParam& init,
                           const afpdlibelements::tessarinePDLibType& tuning);
// Whether the extension parameter "HVSelection" asks for the diagonal flow.
bool isDiagonalFlowEnable(const afpdlibelements::tessarinePDLibType* tuning);
// Whether this version has the flow of a type.
bool IsPDLibFlowAvailable(PDFlowType type);

// The flow of a type; null for a value outside 0 to 7, for a flow that this version doesn't have,
// and without memory. `driver`, where a flow takes it, outlives the flow.
IPDLIBFlow* CreatePDLibFlow(PDFlowType type, LogicalDriver* driver);
// The same for one side of the flow that fuses two axes.
IPDLIBFlow* CreatePDLibSubFlow(PDLibHVFlowType type, LogicalDriver* driver);

IPDLIBFlow* CreateSparseVerticalFlow();
IPDLIBFlow* CreateFullDiagonalFlow();
IPDLIBFlow* CreateSparseHVFlow(LogicalDriver* driver);
IPDLIBFlow* CreateHardwareDPDFlow(LogicalDriver* driver);
IPDLIBFlow* CreateSparseHardwareFlow(LogicalDriver* driver);
IPDLIBFlow* CreateHardwareLCRFlow(LogicalDriver* driver);
