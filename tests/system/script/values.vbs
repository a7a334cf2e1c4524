' What only VBScript can see and send: the types of results, arguments of every numeric type, variables passed by
' reference, arrays, objects and missing arguments.

Dim control: Set control = Create()
Dim other

' ---- Types of what comes back

Dim types: types = Array( _
    "ServerIP", vbString, control.ServerIP, "MotionEditMode", vbBoolean, control.MotionEditMode, _
    "RecordMaxFileSize", vbLong, control.RecordMaxFileSize, "HttpPort", vbLong, control.HttpPort, _
    "VideoProtocol", vbInteger, control.VideoProtocol, "ConnectStatus", vbInteger, control.ConnectStatus, _
    "MediaType", vbInteger, control.MediaType, "VideoFrameRate", vbLong, control.VideoFrameRate, _
    "GetStreamType", vbInteger, control.GetStreamType, "RecordStatus", vbInteger, control.RecordStatus, _
    "FrameRate", vbDouble, control.FrameRate, "CaptionInfo", vbLong, control.CaptionInfo, _
    "IgnoreBorder", vbBoolean, control.IgnoreBorder, "StreamingType", vbLong, control.StreamingType, _
    "ConnectionTimeout", vbLong, control.ConnectionTimeout, "VersionInfo", vbString, control.VersionInfo, _
    "Disconnect", vbLong, control.Disconnect(), "GetPresetName", vbString, control.GetPresetName(), _
    "SaveClientSetting", vbInteger, control.SaveClientSetting(), "AudioPost", vbBoolean, control.AudioPost(False), _
    "SetVideoSize", vbLong, control.SetVideoSize(0, 0), "CreatePen", vbLong, control.CreatePen(0, 0, 0, 1, 0), _
    "GetOverlappedWindowInJSON", vbString, control.GetOverlappedWindowInJSON(9), _
    "EnableDigitalPTZ", vbEmpty, control.EnableDigitalPTZ(False))
Dim i
For i = 0 To UBound(types) Step 3
    Equal "type of " & types(i), types(i + 1), VarType(types(i + 2))
Next

' ---- Numbers of every type are converted

control.HttpPort = CByte(200): Equal "long from Byte", CLng(200), control.HttpPort
control.HttpPort = CInt(8080): Equal "long from Integer", CLng(8080), control.HttpPort
control.HttpPort = CSng(8081): Equal "long from Single", CLng(8081), control.HttpPort
control.HttpPort = CDbl(8082.4): Equal "long from Double", CLng(8082), control.HttpPort
control.HttpPort = CCur(8083): Equal "long from Currency", CLng(8083), control.HttpPort
control.HttpPort = "8084": Equal "long from String", CLng(8084), control.HttpPort
control.HttpPort = True: Equal "long from Boolean", CLng(-1), control.HttpPort
control.HttpPort = Empty: Equal "long from Empty", CLng(0), control.HttpPort
control.VideoProtocol = CByte(2): Equal "short from Byte", CInt(2), control.VideoProtocol
control.VideoProtocol = CLng(3): Equal "short from Long", CInt(3), control.VideoProtocol
control.VideoProtocol = "4": Equal "short from String", CInt(4), control.VideoProtocol
control.Display = CByte(0): Equal "BOOL from Byte", False, control.Display
control.Display = CDbl(0.5): Equal "BOOL from Double", True, control.Display
control.Display = "False": Equal "BOOL from String", False, control.Display
control.ServerIP = CInt(42): Equal "string from Integer", "42", control.ServerIP
control.ServerIP = CLng(-100000): Equal "string from Long", "-100000", control.ServerIP

' ---- Variables arrive by reference, and are left alone

Dim host: host = "camera.example"
Dim port: port = CInt(81)
Dim text: text = "82"
control.ServerIP = host
Equal "string from a variable", "camera.example", control.ServerIP
control.HttpPort = text
Equal "long from a variable", CLng(82), control.HttpPort
control.SetMulticastInfoEx host, port, text, text
Equal "variable with a string", "camera.example", host
Equal "variable with a number", CInt(81), port
Equal "variable that was converted", "82", text

Class Settings
    Public Host
    Public Port
End Class
Dim held: Set held = New Settings
held.Host = "held.example"
control.ServerIP = held.Host
Equal "string from an object's property", "held.example", control.ServerIP

' ---- Long texts and texts with a zero inside

Dim long1: long1 = "0123456789abcdef"
Do While Len(long1) < 1048576
    long1 = long1 & long1
Loop
control.StreamUri = long1
Check "a text of a million characters", control.StreamUri = long1
control.StreamUri = ""
control.ProfileToken = "a" & Chr(0) & "b"
Equal "length of a text with a zero", CLng(3), CLng(Len(control.ProfileToken))

' ---- What cannot be converted

On Error Resume Next
control.ServerIP = "before"
control.ServerIP = Null
Ended "string from Null", TypeMismatch
control.ServerIP = Array(1, 2)
Ended "string from an array", TypeMismatch
Set control.ServerIP = held
Ended "string from an object", TypeMismatch
Set control.ServerIP = Nothing
Ended "string from Nothing", TypeMismatch
Equal "string afterwards", "before", control.ServerIP

control.HttpPort = 90
control.HttpPort = "ninety"
Ended "long from a word", TypeMismatch
control.HttpPort = Null
Ended "long from Null", TypeMismatch
control.HttpPort = Array(1, 2)
Ended "long from an array", TypeMismatch
control.HttpPort = CDbl(3000000000)
Ended "long from a large Double", Overflow
Equal "long afterwards", CLng(90), control.HttpPort

control.VideoProtocol = CLng(40000)
Ended "short from a large Long", Overflow
Equal "short afterwards", CInt(4), control.VideoProtocol

text = "word"
control.SetVideoSize text, text
Ended "long argument from a variable with a word", TypeMismatch

control.ConnectStatus = 1
Ended "writing ConnectStatus", SetNotSupported
control.FrameRate = 25.0
Ended "writing FrameRate", SetNotSupported
control.VideoFrameRate = 25
Ended "writing VideoFrameRate", SetNotSupported
control.GetStreamType = "word"
Ended "writing GetStreamType", SetNotSupported

control.StartRecording
Ended "a missing argument", WrongArgumentCount
control.StartRecording 1, 2
Ended "an argument too many", WrongArgumentCount
control.ServerIP(1) = "indexed"
Ended "writing a property with an index", WrongArgumentCount
control.NoSuchMember
Ended "a name that is none", NoSuchMember

' ---- The control outlives its refused calls, and goes with its last reference

Equal "state", CInt(2), control.ConnectStatus
For i = 1 To 20
    Set other = Create()
    other.ServerIP = "other" & i
    Set other = Nothing
Next
Ended "making and dropping controls", NoError
Equal "first control", "before", control.ServerIP
Set control = Nothing
Ended "dropping the first control", NoError

Finish 73
