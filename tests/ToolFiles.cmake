# Files the program's tests read, written into WORK once before they run.
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
file(WRITE ${WORK}/r.dtd "<!ELEMENT r (count*)>\n<!ELEMENT count (#PCDATA)>\n<!ATTLIST count keytype CDATA #IMPLIED>\n")
file(WRITE ${WORK}/good.xml "<!DOCTYPE r SYSTEM \"r.dtd\"><r><count keytype=\"int\">42</count></r>")
file(WRITE ${WORK}/invalid.xml "<!DOCTYPE r SYSTEM \"r.dtd\"><r><other/></r>")
file(WRITE ${WORK}/escaping.xml "<!DOCTYPE r SYSTEM \"../r.dtd\"><r/>")
file(WRITE ${WORK}/empty.xml "")
file(WRITE ${WORK}/controls.xml "<?xml version=\"1.1\"?><r><p keytype=\"s\">one&#10;two&#13;&#10;\\&#x1B;[31m&#x7;&#x9B;</p></r>")
file(WRITE ${WORK}/no-dtd.xml "<!DOCTYPE r SYSTEM \"missing.dtd\"><r/>")
string(REPEAT "<e a='1'/>" 300 empties) # each opens and closes at once
file(WRITE ${WORK}/empties.xml "<Root>${empties}</Root>")
file(WRITE ${WORK}/transport.xml "<r><FileTransport><fileContent>QUJD</fileContent></FileTransport></r>")
string(ASCII 1 2 255 254 200 binary_bytes)
string(REPEAT "${binary_bytes} binary " 400000 binary) # about 4 MB that is no text at all
file(WRITE ${WORK}/binary.xml "${binary}")
string(REPEAT "<count>1</count>" 75 counts) # an error far along one line
file(WRITE ${WORK}/long-line.xml "<!DOCTYPE r SYSTEM \"r.dtd\"><r>${counts}<other/></r>")
file(WRITE ${WORK}/unnamed.xml "<r><count>1</count></r>")
file(WRITE ${WORK}/other.dtd "<!ELEMENT r (other)>\n<!ELEMENT other EMPTY>\n")
file(WRITE ${WORK}/unformatted.xml "<!DOCTYPE r SYSTEM \"r.dtd\"> <r>\n\t<count keytype=\"int\"> 4 2 </count><count></count>  </r>")
file(WRITE ${WORK}/mixed.xml "<m> <b/>text<c> <d/> </c><p xml:space=\"preserve\"> <a/> </p></m>")
file(WRITE ${WORK}/eleven.xml "<?xml version=\"1.1\"?><r>&#x1;</r>")
file(WRITE ${WORK}/preserve.xml "<r><p xml:space=\"preserve\"> <a/> </p><q> <z/> </q></r>")
