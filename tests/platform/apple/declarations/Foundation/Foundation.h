#pragma once

// The part of Foundation that the adapters for iOS use, as its documentation declares it: enough to check
// their syntax and types on a system without it. No method is defined anywhere.
using NSInteger = long;
using NSUInteger = unsigned long;
using NSStringEncoding = NSUInteger;
using NSTimeInterval = double;
inline constexpr NSStringEncoding NSUTF8StringEncoding = 4;
using BOOL = bool;

@protocol NSCopying
@end

__attribute__((objc_root_class))
@interface NSObject
+ (instancetype)alloc;
+ (Class)class;
- (BOOL)isKindOfClass:(Class)aClass;
@end

struct NSFastEnumerationState {
  unsigned long state;
  id __unsafe_unretained* itemsPtr;
  unsigned long* mutationsPtr;
  unsigned long extra[5];
};

@interface NSData : NSObject
+ (instancetype)dataWithBytes:(const void*)bytes length:(NSUInteger)length;
@property(readonly) const void* bytes __attribute__((objc_returns_inner_pointer));
@property(readonly) NSUInteger length;
@end

@interface NSString : NSObject <NSCopying>
- (instancetype)initWithBytes:(const void*)bytes
                       length:(NSUInteger)length
                     encoding:(NSStringEncoding)encoding;
- (NSData*)dataUsingEncoding:(NSStringEncoding)encoding;
@end

@interface NSNumber : NSObject
+ (NSNumber*)numberWithBool:(BOOL)value;
@end

@interface NSDate : NSObject
+ (instancetype)dateWithTimeIntervalSince1970:(NSTimeInterval)seconds;
@end

@interface NSURL : NSObject
+ (instancetype)URLWithString:(NSString*)text;
@end

@interface NSArray<ObjectType> : NSObject
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained[])buffer
                                    count:(NSUInteger)length;
@end

@interface NSMutableArray<ObjectType> : NSArray <ObjectType>
+ (instancetype)array;
- (void)addObject:(ObjectType)object;
@end

@interface NSDictionary<KeyType, ObjectType> : NSObject
+ (instancetype)dictionaryWithObjects:(const ObjectType[])objects
                              forKeys:(const KeyType[])keys
                                count:(NSUInteger)count;
- (ObjectType)objectForKeyedSubscript:(KeyType)key;
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained[])buffer
                                    count:(NSUInteger)length;
@end

@interface NSMutableDictionary<KeyType, ObjectType> : NSDictionary <KeyType, ObjectType>
+ (instancetype)dictionary;
- (void)setObject:(ObjectType)object forKeyedSubscript:(KeyType)key;
@end

@interface NSThread : NSObject
@property(class, readonly) BOOL isMainThread;
@end

using dispatch_block_t = void (^)(void);
using dispatch_queue_t = NSObject*;
extern "C" dispatch_queue_t dispatch_get_main_queue();
extern "C" void dispatch_async(dispatch_queue_t queue, dispatch_block_t block);
