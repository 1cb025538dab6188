// The flow that fuses two axes: a horizontal and a vertical sub-flow see every frame, and their
// results are blended window by window, with weights that depend on each side's confidence.
//
// The sub-flows know nothing of each other. Only what the horizontal one learns is kept between
// runs.
#pragma once

#include "afpdlibelements.h"
#include "base/owned_array.h"
#include "frame/pdlib_flow.h"

// Weight of a confidence by a table: sorts the table, and interpolates between its points. Outside
// of them the nearest point holds.
float HVWeightLookUp(afpdlibelements::tessarineHVConfWeight* table, uint32_t count, int confidence);

// Sorts points [low, high] by rising threshold, see SwatDataWeightConf for equal ones.
void WeightConfSort(afpdlibelements::tessarineHVConfWeight* table, int low, int high);
// Exchanges two points, unless their thresholds are equal and the second weighs more.
void SwatDataWeightConf(afpdlibelements::tessarineHVConfWeight* first,
                        afpdlibelements::tessarineHVConfWeight* second);

class LogicalDriver;

class SparseHVFlow final : public IPDLIBFlow {
 public:
  // Makes a flow for one side; null for one that there isn't, or without memory.
  using SubFlowMaker = IPDLIBFlow* (*)(PDLibHVFlowType type, LogicalDriver* driver);

  SparseHVFlow(SubFlowMaker make, LogicalDriver* driver) : make_(make), driver_(driver) {}
  ~SparseHVFlow() override;
  SparseHVFlow(const SparseHVFlow&) = delete;
  SparseHVFlow& operator=(const SparseHVFlow&) = delete;

  int Init(const PDLibInitParam* init, const afpdlibelements::tessarinePDLibType* tuning) override;
  int Process(const PDLibParam* param, uint32_t lines, PDLibOutputData* output) override;
  int DeInit() override;
  int GetAdaptiveData(const void** data, int* size) override;
  int SetAdaptiveData(const void* data, int size) override;

 private:
  // Copies: the tuning record is read-only, and cameras may share it.
  using WeightTable = pdlib::OwnedArray<afpdlibelements::tessarineHVConfWeight>;

  IPDLIBFlow* CreateSubFlow(PDLibHVFlowType type);
  bool CreateSubFlows(const afpdlibelements::tessarinePDLibType& tuning);
  bool TakeWeights(const afpdlibelements::tessarineHVControl& control);
  float hWeightLookUp(int confidence);
  float vWeightLookUp(int confidence);
  int RefuseNull() const;

  IPDLIBFlow* vertical_ = nullptr;
  IPDLIBFlow* horizontal_ = nullptr;
  SubFlowMaker make_;
  LogicalDriver* driver_;
  WeightTable horizontalWeights_;
  WeightTable verticalWeights_;
  bool isReady_ = false;  // the last Init went through as a whole
  bool initFailed_ = false;
};
