// dbfidxclass.cpp -- which messages the DBF driver leaves to the abstract
// class, and its own messages; the layout follows from dataserver_derive.
#include "dbfidxclass.h"

namespace {

// The dataserver slots the driver does not implement: blobs, client
// notification, hyperlabels, a few order and field services, and the
// accesses errinfo (the error object is reached by the errinfo method),
// indexcheck and indexlock.
constexpr int32_t kAbstract[] = {
    VLN_DS_ALIASSYM_AC,       VLN_DS_BLOBDIRECTEXPORT,   VLN_DS_BLOBDIRECTGET,
    VLN_DS_BLOBDIRECTIMPORT,  VLN_DS_BLOBDIRECTPUT,      VLN_DS_BLOBEXPORT,
    VLN_DS_BLOBGET,           VLN_DS_BLOBIMPORT,         VLN_DS_BLOBROOTGET,
    VLN_DS_BLOBROOTLOCK,      VLN_DS_BLOBROOTPUT,        VLN_DS_BLOBROOTUNLOCK,
    VLN_DS_DATAFIELD,         VLN_DS_ERRINFO_AC,         VLN_DS_FIELDGETFORMATTED,
    VLN_DS_FIELDHYPERLABEL,   VLN_DS_FIELDSPEC,          VLN_DS_FIELDSTATUS,
    VLN_DS_FIELDSYM,          VLN_DS_FIELDVALIDATE,      VLN_DS_INDEXCHECK_AC,
    VLN_DS_INDEXLOCK_AC,      VLN_DS_LOCKSELECTION,      VLN_DS_NOMETHOD,
    VLN_DS_NOTIFY,            VLN_DS_ORDERBOTTO_AC,      VLN_DS_ORDERBOTTO_AS,
    VLN_DS_ORDERDESCEND,      VLN_DS_ORDERKEYADD,        VLN_DS_ORDERKEYDEL,
    VLN_DS_ORDERKEYGOTO,      VLN_DS_ORDERKEYNO_AS,      VLN_DS_ORDERSCOPE,
    VLN_DS_ORDERSKIPUNIQUE,   VLN_DS_ORDERTOPSC_AC,      VLN_DS_ORDERTOPSC_AS,
    VLN_DS_REGISTERCLIENT,    VLN_DS_RESETNOTIFICATION,  VLN_DS_ROLLBACK,
    VLN_DS_SETDATAFIELD,      VLN_DS_SETSELECTIVERELAT,  VLN_DS_STATUS_AC,
    VLN_DS_SUSPENDNOTIFICATION, VLN_DS_UNREGISTERCLIENT,
};

constexpr VlnDsExtra kOwn[] = {
    {"axit", 'M'},          {"errinfo", 'M'},         {"indexappend", 'M'},
    {"indexcheck", 'M'},    {"indexgobottom", 'M'},   {"indexgotop", 'M'},
    {"indexkeycompare", 'M'}, {"indexreplace", 'M'},  {"indexseek", 'M'},
    {"indexseekeval", 'M'}, {"indexskip", 'M'},       {"indexsynchronize", 'M'},
    {"quickfieldget", 'M'}, {"quickfieldput", 'M'},
};
constexpr int32_t kOwnCount = sizeof kOwn / sizeof kOwn[0];

const VlnDsClass* build()
{
  unsigned char overrides[VLN_DS_SLOT_COUNT];
  for (unsigned char& o : overrides) o = 1;
  for (int32_t s : kAbstract) overrides[s] = 0;
  return vlnDsDeriveClass("dbfidx", overrides, kOwn, kOwnCount);
}

}  // namespace

extern "C" {

const VlnDsClass* vlnDbfidxClass(void)
{
  static const VlnDsClass* cls = build();
  return cls;
}

int vlnDbfidxPars(int32_t slot)
{
  switch (slot) {
    case VLN_DBFIDX_INDEXKEYCOMPARE:
    case VLN_DBFIDX_INDEXSKIP:
    case VLN_DBFIDX_INDEXSYNCHRONIZE: return 2;
    case VLN_DBFIDX_INDEXSEEK:
    case VLN_DBFIDX_INDEXSEEKEVAL: return 3;
    default: break;
  }
  const VlnDsClass* cls = vlnDbfidxClass();
  return slot >= 0 && slot < cls->count && cls->slots[slot].kind == 'M' ? 1 : 0;
}

}  // extern "C"
