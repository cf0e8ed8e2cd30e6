// Every limit that Fieldpost sets to the data it reads and writes. The help's page "Limits" states these
// numbers, and a test of the tree compares the two.
#pragma once

#include <cstddef>
#include <cstdint>

namespace fieldpost {

// Shape of an XML file. Time or memory of the parser grows faster than the file with each of these, so that a
// small hostile file could stall a run. Devices stay far below all of them.

/// Nesting of elements. libxml2 builds trees up to 256 levels; an element must still be readable when it is
/// copied a few levels deeper into another document.
inline constexpr std::size_t MaxXmlDepth = 250;
/// Elements, attributes (two each), texts, comments and instructions of a file that is kept as a tree: each
/// takes about 128 bytes of memory.
inline constexpr std::size_t MaxXmlNodes = 500'000;
/// Attributes of one element, namespace declarations not counted. The parser compares each with each.
inline constexpr std::size_t MaxXmlAttributes = 256;
/// Attributes of one element of a file that is only displayed.
inline constexpr std::size_t MaxShownAttributes = 10'000;
/// Namespaces in force at an element. The parser searches them one after the other.
inline constexpr std::size_t MaxXmlNamespaces = 200;
/// Different names of elements and attributes, which the parser keeps to the end.
inline constexpr std::size_t MaxXmlNames = 20'000;
/// Declarations in the document type. The parser appends to lists that it walks through each time.
inline constexpr std::size_t MaxXmlDeclarations = 1000;
/// References to entities that the document declares, those within entities included.
inline constexpr std::size_t MaxEntityUses = 5000;
/// Bytes by which all these references are replaced.
inline constexpr std::size_t MaxEntityBytes = std::size_t{16} * 1024 * 1024;

// Filing.

/// A file in a Latest folder. Real ones are small; the tree needs many times the file's size in memory.
inline constexpr std::uint64_t MaxFaultloggerFileBytes = std::uint64_t{8} * 1024 * 1024;
/// Nesting of elements in a file in a Latest folder. Merging copies an entry into an archived `FLFILE` that
/// may be nested equally deep; the result must stay within MaxXmlDepth.
inline constexpr std::size_t MaxFaultloggerFileDepth = MaxXmlDepth / 2;
/// An archived file that new entries are merged into; a larger one stays as it is.
inline constexpr std::size_t MaxArchivedFileBytes = std::size_t{20} * 1024 * 1024;
/// Nodes of an archived file that new entries are merged into: more than MaxXmlNodes, as it grows by merging.
inline constexpr std::size_t MaxArchivedFileNodes = 600'000;
/// A filename, and so a product code, which names a folder: the limit of the file systems in use.
inline constexpr std::size_t MaxFilenameBytes = 255;
/// The journal of filing or of sending: many times what one run writes.
inline constexpr std::uint64_t MaxJournalBytes = std::uint64_t{64} * 1024 * 1024;

// Documents and mails.

/// A document is complete once the file or entry added last makes it longer than this.
inline constexpr std::size_t MaxDocumentCharacters = 1'300'000;
/// Faultlogger documents whose names begin with the same hour: the number in the name has two digits.
inline constexpr int MaxDocumentsAnHour = 99;
/// The largest document that is mailed. This program writes smaller ones.
inline constexpr std::uint64_t MaxDocumentBytes = std::uint64_t{64} * 1024 * 1024;
/// All attachments of one run together: their sum is shown as a 32-bit number.
inline constexpr std::uint64_t MaxAttachmentBytes = 2'147'483'647;
/// A mail address (RFC 5321, section 4.5.3.1: 64 for the local part, 255 for the domain).
inline constexpr std::size_t MaxAddressBytes = 320;
/// A mail server's or host's name (RFC 5321, section 4.5.3.1.2).
inline constexpr std::size_t MaxHostNameBytes = 255;
/// Lines of one reply of the mail server. A server that never ends its reply is cut off.
inline constexpr std::size_t MaxReplyLines = 200;
/// One line of a reply of the mail server.
inline constexpr std::size_t MaxReplyLineBytes = 65'536;
/// How long to wait for the reply to a mail's data (RFC 5321, section 4.5.3.2.6).
inline constexpr int MaxFinalReplySeconds = 600;

// PPC data.

/// A file that uses entities of its own. Replacing them needs the whole document in memory.
inline constexpr std::uint64_t MaxExpandedPpcBytes = std::uint64_t{1024} * 1024;
/// One start tag: it is kept in memory until it is complete.
inline constexpr std::size_t MaxPpcTagBytes = std::size_t{256} * 1024;
/// The `ArchiveDate` element, which every PPC document repeats.
inline constexpr std::size_t MaxArchiveDateBytes = 65'536;

// Settings.

/// An INI file: the program's options, or the suite's settings.
inline constexpr std::uint64_t MaxIniFileBytes = std::uint64_t{2} * 1024 * 1024;
/// A value in Faultlog.ini; the rest is cut off.
inline constexpr std::size_t MaxIniValueCharacters = 255;
/// The stored list of Latest folders.
inline constexpr std::uint64_t MaxLatestListBytes = std::uint64_t{4} * 1024 * 1024;
/// Latest folders in the list.
inline constexpr std::size_t MaxLatestFolders = 10'000;
/// The registry's file.
inline constexpr std::uint64_t MaxRegistryBytes = std::uint64_t{64} * 1024 * 1024;
/// The highest port (RFC 9293, section 3.1: 16 bits).
inline constexpr std::int32_t MaxSmtpPort = 65'535;
/// Attempts to reach the mail server.
inline constexpr std::int32_t MaxTryCount = 100;
/// Seconds that the mail server may take without progress.
inline constexpr std::int32_t MaxTimeoutSeconds = 3600;

// The log.

/// One line; a longer one is cut.
inline constexpr std::size_t MaxLogLineBytes = 2000;
/// What the viewer shows of a log, from its end. Qt's text view needs several times as much memory.
inline constexpr std::uint64_t MaxShownLogBytes = std::uint64_t{64} * 1024 * 1024;

}  // namespace fieldpost
