# The headers an application's code reaches, as installed under <prefix>/include/classxml/: the
# reference documents each one, except those in detail/ and engines/ folders, which only the
# library's own headers include (make docs checks it).
set(CLASSXML_PUBLIC_HEADERS
    BasicFile.h BasicString.h DatabaseTypes.h NamedType.h WideChar.h WindowsIntegers.h
    platform/Export.h platform/FileIO.h platform/LocalizationManager.h platform/LoggingFile.h
    platform/LoggingSourcePos.h
    basicio/BasicFileException.h basicio/VFile.h
    xmlio/Diagnostics.h xmlio/XMLIO.h xmlio/XercesForward.h xmlio/XercesIO.h
    xmlio/XercesStringHandler.h xmlio/DtdDeclarations.h
    compat/Compatibility.h
    valuetext/Families.h valuetext/TimeText.h
    XMLClassReaderWriter/AttributeMap.h XMLClassReaderWriter/XMLClassReaderWriter.h
    stream/StreamReader.h stream/StreamWriter.h
    archive/Archive.h archive/ClassVersion.h archive/Construct.h archive/DocumentType.h archive/DtdFor.h
    archive/Engine.h
    archive/InputArchive.h archive/LoadOptions.h archive/Members.h archive/Objects.h
    archive/OutputArchive.h archive/Registration.h archive/Result.h archive/SaveOptions.h
    archive/TypeText.h
    archive/types/Bitset.h archive/types/Bytes.h archive/types/Chrono.h archive/types/Containers.h
    archive/types/FilesystemPath.h archive/types/Minimal.h archive/types/Optional.h archive/types/PlainPointers.h archive/types/Pointers.h
    archive/types/TupleLike.h archive/types/Values.h archive/types/Variant.h
    archive/detail/Archived.h archive/detail/ClassNames.h archive/detail/Dtd.h archive/detail/Transport.h archive/detail/MemberPath.h
    archive/detail/Polymorphic.h archive/detail/SharedObjects.h
    archive/engines/ArchiveReader.h archive/engines/ArchiveWriter.h archive/engines/DomReader.h
    archive/engines/DomWriter.h archive/engines/StreamEngineReader.h
    archive/engines/StreamEngineWriter.h archive/engines/SurveyWriter.h)
