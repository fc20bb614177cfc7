#pragma once
// The agent framework (xaf.dll) as the agent sees it. Tables register managers; the framework asks
// a manager for sample objects, calls their TakeSample at each interval, compares columns against
// thresholds, and takes rows over. Our own local framework stands behind these declarations.

#include <cstdint>

#if defined(_WIN32) && defined(XAF_BUILD)
#define XAF_API __declspec(dllexport)
#elif defined(_WIN32)
#define XAF_API __declspec(dllimport)
#else
#define XAF_API
#endif

class xaftable;
class TableManager;
struct RequestDetail;  // the framework's own: the agent only passes these on
struct ContextInfo;
struct XaftableAutomationCapsule;

// Comparison operators of thresholds; the values belong to the framework.
enum _IntfOper : int {
  IntfOper_Equal = 0,
  IntfOper_NotEqual = 1,
  IntfOper_Less = 2,
  IntfOper_LessOrEqual = 3,
  IntfOper_Greater = 4,
  IntfOper_GreaterOrEqual = 5,
  IntfOper_Contains = 6,
  IntfOper_NotContains = 7,
  IntfOper_Like = 8,  // '*' any run, '?' any one character
};

enum _IntfSampleType : int {
  IntfSampleType_Interval = 0,  // sampled again and again
  IntfSampleType_Once = 1,      // sampled one time
};

using IntfDtype = std::uint16_t;  // the column's type code: 3, 9 or 12

// What GetColumnInfo fills in.
struct ColumnInfo {
  const char* name;      // lower-case column name
  std::uint16_t offset;  // byte position in the row
  std::uint16_t width;   // bytes
  std::uint16_t type;    // type code
};

using XAF_AgentLoader = std::int32_t (*)();

extern "C" {
// Runs the framework; returns only when it has shut down. 0, or an error of its configuration.
XAF_API std::int32_t xafmain(int argument_count, char** arguments);
// Declares one affinity of the agent.
XAF_API std::int32_t XAF_SetAffinity(const char* affinity);
// Remembers the loader and calls it, on a thread of its own choosing, when it is ready for tables.
XAF_API std::int32_t XAF_RegisterAgentLoader(XAF_AgentLoader loader);
XAF_API std::int32_t XAF_SetVersionUsingProduct(const char* product, char* buffer,
                                                std::uint32_t size);
// Asks the framework to stop; xafmain then returns. Any thread; does not wait.
XAF_API std::int32_t XAF_Shutdown(int mode);
// Writes the node name of this agent with its zero end; a name of size characters or more fills the
// buffer and has none.
XAF_API std::int32_t DetermineLocalHost(char* buffer, std::uint32_t size);
}

// One sample object for one request. Slots of the virtual operations are in the order below.
class XAF_API xaftable {
 public:
  xaftable(RequestDetail* request, ContextInfo* context, TableManager* manager);
  xaftable(const xaftable&) = delete;
  xaftable& operator=(const xaftable&) = delete;

  virtual void PrintSelf() = 0;
  virtual void TakeSample() = 0;
  virtual std::uint32_t GetColumnCount() = 0;
  virtual std::int32_t GetColumnInfo(ColumnInfo* info, int index) = 0;
  virtual std::int32_t ExecuteCommand(char* command, int length, char* answer);

 protected:
  virtual ~xaftable();

  // Takes a copy of one row of the set row size. Non-zero stops further rows of the call.
  virtual std::uint32_t InsertRow(char* row);
  // Non-zero means that the row is to be handed to InsertRow: no threshold is set, or one is met.
  virtual std::uint32_t CheckForException(char* row);
  virtual int CheckColumnException(char* row, const char* column, _IntfOper operation,
                                   char* threshold) = 0;
  virtual void CommandCompleted(XaftableAutomationCapsule* capsule);
  virtual void CommandCompletedEx(void* capsule);

 public:
  virtual std::int32_t AddData(char* rows, std::int32_t count) = 0;

  std::uint32_t NumDataItems() const;  // rows held
  const char* Data(int index) const;   // address of a held row, or null
  void ClearCount();                   // forgets the rows held
  std::uint32_t Handle() const;        // stands for the object; never 0
  // Finds and holds the object, or null when it is gone. Every one held must be dropped.
  static xaftable* UseHandle(std::uint32_t handle);
  std::uint32_t Dispatch();  // sends the rows held; 0 on success
  void Drop();

 protected:
  void SetRowSize(std::uint32_t bytes);
  void SetAllocationDefault(std::uint32_t rows);
  std::uint32_t AllocationDefault() const;
  std::uint32_t NumRowsAllocated() const;
  const char* TableName() const;
  const char* ApplicationName() const;
  std::uint32_t _get_interval() const;  // milliseconds
  _IntfSampleType _get_sampletype() const;
  void DumpThresholds() const;

  int IsException(_IntfOper operation, char* value, char* threshold, int length) const;
  int IsException(_IntfOper operation, long value, char* threshold) const;
  int IsException(_IntfOper operation, char* value, char* threshold, int length,
                  IntfDtype type) const;

 private:
  friend class TableManager;
  friend struct XaftableAccess;  // the framework's own way in
  struct State;
  State* state_;  // owned
};

// The live sample objects that a manager holds; walked under the manager's lock.
class XaftableList;
class XAF_API XaftableListIter {
 public:
  explicit XaftableListIter(XaftableList* list);
  virtual ~XaftableListIter();
  xaftable* Next();  // the next object, or null at the end

 private:
  XaftableList* list_;
  std::uint32_t next_ = 0;
};

// One a table and process: a factory of sample objects.
class XAF_API TableManager {
 public:
  TableManager(const char* application, const char* table);
  virtual ~TableManager();
  TableManager(const TableManager&) = delete;
  TableManager& operator=(const TableManager&) = delete;

  virtual std::uint32_t Shutdown(std::uint32_t mode);
  virtual xaftable* CreateInstance(RequestDetail* request, ContextInfo* context) = 0;

  // Hands the manager, which the framework then owns, over. 0 on success.
  static std::uint32_t RegisterWithManager(TableManager* manager);

 protected:
  void lock();
  void unlock();
  XaftableList* List() const;

 private:
  friend class xaftable;
  friend struct XaftableAccess;
  struct State;
  State* state_;  // owned
};
