// Sequence containers and maps: empty elements whose attributes name the container kind and
// the item types; the application adds the items beneath them.
#include "classxml/XMLClassReaderWriter/XMLClassReaderWriter.h"

namespace {

// The kind word of maps; unlike the sequence words it is not part of the interface.
constexpr CXMLClassReaderWriter::View kMapKind = WIDE("map");

} // namespace

CXMLClassReaderWriter CXMLClassReaderWriter::AddListSetProperties(View const& name,
                                                                  View const& kind,
                                                                  View const& itemType) {
    AttributeMap attributes;
    if (mb_typeCheck) {
        attributes.insert({KEY_TYPE, kind});
        attributes.insert({VARKEY_TYPE, itemType});
    }
    return AddElementAttributesContent(name, attributes);
}

CXMLClassReaderWriter CXMLClassReaderWriter::AddLISTProperty(View const& name,
                                                             View const& itemType) {
    return AddListSetProperties(name, mstr_list, itemType);
}

// A deque has no word of its own: in a file it is a list.
CXMLClassReaderWriter CXMLClassReaderWriter::AddDEQUEProperty(View const& name,
                                                              View const& itemType) {
    return AddListSetProperties(name, mstr_list, itemType);
}

CXMLClassReaderWriter CXMLClassReaderWriter::AddSETProperty(View const& name,
                                                            View const& itemType) {
    return AddListSetProperties(name, mstr_set, itemType);
}

CXMLClassReaderWriter CXMLClassReaderWriter::AddVECTORProperty(View const& name,
                                                               View const& itemType) {
    return AddListSetProperties(name, mstr_vector, itemType);
}

bool CXMLClassReaderWriter::IsListSetProperties(View const& name, View const& kind,
                                                View const& itemType) {
    if (GetElementName() != name) return false;
    if (!mb_typeCheck) return true;
    return GetAttributeValue(KEY_TYPE) == kind && GetAttributeValue(VARKEY_TYPE) == itemType;
}

bool CXMLClassReaderWriter::IsListSetProperties(View const& name, View const& kind,
                                                TypePair const& itemTypes) {
    return IsListSetProperties(name, kind, itemTypes.first) ||
           IsListSetProperties(name, kind, itemTypes.second);
}

bool CXMLClassReaderWriter::IsLISTProperty(View const& name, View const& itemType) {
    return IsListSetProperties(name, mstr_list, itemType);
}
bool CXMLClassReaderWriter::IsLISTProperty(View const& name, TypePair const& itemTypes) {
    return IsListSetProperties(name, mstr_list, itemTypes);
}
bool CXMLClassReaderWriter::IsDEQUEProperty(View const& name, View const& itemType) {
    return IsListSetProperties(name, mstr_list, itemType);
}
bool CXMLClassReaderWriter::IsDEQUEProperty(View const& name, TypePair const& itemTypes) {
    return IsListSetProperties(name, mstr_list, itemTypes);
}
bool CXMLClassReaderWriter::IsSETProperty(View const& name, View const& itemType) {
    return IsListSetProperties(name, mstr_set, itemType);
}
bool CXMLClassReaderWriter::IsSETProperty(View const& name, TypePair const& itemTypes) {
    return IsListSetProperties(name, mstr_set, itemTypes);
}
bool CXMLClassReaderWriter::IsVECTORProperty(View const& name, View const& itemType) {
    return IsListSetProperties(name, mstr_vector, itemType);
}
bool CXMLClassReaderWriter::IsVECTORProperty(View const& name, TypePair const& itemTypes) {
    return IsListSetProperties(name, mstr_vector, itemTypes);
}

CXMLClassReaderWriter CXMLClassReaderWriter::AddMAPProperty(View const& name, View const& keyType,
                                                            View const& valueType) {
    AttributeMap attributes;
    if (mb_typeCheck) {
        attributes.insert({KEY_TYPE, kMapKind});
        attributes.insert({VARKEY_TYPE, keyType});
        attributes.insert({VAR_TYPE, valueType});
    }
    return AddElementAttributesContent(name, attributes);
}

// A single type is the pair of itself and itself.
bool CXMLClassReaderWriter::IsMAPProperty(View const& name, View const& keyType,
                                          View const& valueType) {
    return IsMAPProperty(name, TypePair(keyType, keyType), TypePair(valueType, valueType));
}
bool CXMLClassReaderWriter::IsMAPProperty(View const& name, View const& keyType,
                                          TypePair const& valueTypes) {
    return IsMAPProperty(name, TypePair(keyType, keyType), valueTypes);
}
bool CXMLClassReaderWriter::IsMAPProperty(View const& name, TypePair const& keyTypes,
                                          View const& valueType) {
    return IsMAPProperty(name, keyTypes, TypePair(valueType, valueType));
}

bool CXMLClassReaderWriter::IsMAPProperty(View const& name, TypePair const& keyTypes,
                                          TypePair const& valueTypes) {
    if (GetElementName() != name) return false;
    if (!mb_typeCheck) return true;
    if (GetAttributeValue(KEY_TYPE) != kMapKind) return false;
    const View& keyType = GetAttributeValue(VARKEY_TYPE);
    if (keyType != keyTypes.first && keyType != keyTypes.second) return false;
    const View& valueType = GetAttributeValue(VAR_TYPE);
    return valueType == valueTypes.first || valueType == valueTypes.second;
}
